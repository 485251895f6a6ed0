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
  using SteadyTime = std::chrono::steady_clock::time_point;

  explicit HistoryBook(const Session& session);

  // Takes the session's present values as read at that time, the local provider's unchanged for as
  // long as given. They change by its samples: a reading without a new one says nothing about them,
  // until so much time has passed that they stand still.
  void add_reading(SteadyTime time, std::chrono::nanoseconds unchanged_for);

  // After a suspension: the next local sample may still be from before it, so changes are counted
  // from the one after that.
  void restart();

  const std::vector<CounterHistory>& histories() const { return histories_; }

 private:
  void extend(CounterHistory& history, double seconds) const;

  const Session& session_;
  std::vector<CounterHistory> histories_;  // in the selection's order
  SteadyTime previous_time_;
  SteadyTime local_changed_at_;
  int doubtful_samples_ = 0;  // so many new ones of the local provider are not compared
};

}  // namespace tly::agent
