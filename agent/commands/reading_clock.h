// When to read: the first whole sample as soon as it is there, then one reading per interval.
#pragma once

#include <chrono>
#include <functional>
#include <vector>

#include "common/failure.h"
#include "common/signals.h"
#include "host/session.h"

namespace tly::agent {

class ReadingClock {
 public:
  // Called for every wake-up but the deadline; false ends the waiting.
  using WakeHandler = std::function<bool(Wake)>;

  // Waits at most `timeout` for the first samples. Keys are waited for when the descriptor is not
  // negative.
  ReadingClock(Session& session, SignalWaiter& signals, Omissions& omissions,
               std::chrono::nanoseconds interval, std::chrono::nanoseconds timeout,
               int key_descriptor = -1);

  // Waits for the next reading and takes it into the session's values. False when the handler ended
  // the waiting. A provider whose first sample does not arrive in time is an omission; throws
  // Failure when that holds for all.
  //
  // The local provider samples by a clock of its own. A reading that finds the values of the one
  // before therefore waits a little for a new sample and, when one arrives, keeps to its time from
  // then on, so that each reading has a sample of its own.
  bool next(const WakeHandler& handler);

  // When the present values were read, and since when they are the same.
  std::chrono::system_clock::time_point time() const { return time_; }
  std::chrono::steady_clock::time_point steady_time() const { return steady_time_; }
  std::chrono::nanoseconds unchanged_for() const { return steady_time_ - changed_at_; }

 private:
  using SteadyTime = std::chrono::steady_clock::time_point;

  bool wait_for_first(const WakeHandler& handler);
  bool wait_for_due(const WakeHandler& handler);
  void give_up_waiting();
  bool sleep_until(const WakeHandler& handler, SteadyTime deadline);
  bool values_have_changed() const;

  Session& session_;
  SignalWaiter& signals_;
  Omissions& omissions_;
  std::chrono::nanoseconds interval_;
  std::chrono::nanoseconds timeout_;
  int key_descriptor_;
  bool has_read_ = false;
  std::vector<unsigned char> previous_values_;  // the paced ones
  SteadyTime due_;
  SteadyTime steady_time_;
  SteadyTime changed_at_;
  std::chrono::system_clock::time_point time_;
};

}  // namespace tly::agent
