// How the selected counters have been changing, reading by reading.
#pragma once

#include <chrono>
#include <deque>
#include <optional>
#include <vector>

#include "host/session.h"

namespace tly::agent {

struct CounterHistory {
  const SelectedCounter* counter;
  // Running sums only, from the second reading on; nothing while it is not known.
  std::optional<double> per_second;
  // The latest changes per second of a running sum, values of any other counter; NaN for none.
  std::deque<double> trend;
  std::optional<tly_counter_value_t> previous;  // at the latest reading; nothing without a value
};

class HistoryBook {
 public:
  explicit HistoryBook(const Session& session);

  // Takes the session's present values as read at that time.
  void add_reading(std::chrono::steady_clock::time_point time);

  const std::vector<CounterHistory>& histories() const { return histories_; }

 private:
  void extend(CounterHistory& history, double seconds) const;

  const Session& session_;
  std::vector<CounterHistory> histories_;  // in the selection's order
  std::chrono::steady_clock::time_point previous_time_;
};

}  // namespace tly::agent
