// Waiting that signals and keys end early.
#pragma once

#include <signal.h>

#include <chrono>
#include <initializer_list>
#include <utility>
#include <vector>

namespace tly::agent {

enum class Wake { kDeadline, kStop, kResize, kSuspend, kKey };

// While alive, the given signals wake wait_until() and do nothing else; afterwards they have their
// earlier effect again. A signal that is being ignored stays ignored. One per process.
class SignalWaiter {
 public:
  explicit SignalWaiter(std::initializer_list<int> signals);
  ~SignalWaiter();
  SignalWaiter(const SignalWaiter&) = delete;
  SignalWaiter& operator=(const SignalWaiter&) = delete;

  // Signals arrive at once also when they were raised before the call. A negative descriptor means
  // that no keys are waited for.
  Wake wait_until(std::chrono::steady_clock::time_point deadline, int key_descriptor = -1);

  // The signal that asked to stop, or 0.
  int stop_signal() const { return stop_signal_; }

 private:
  std::vector<std::pair<int, struct sigaction>> previous_actions_;
  int descriptor_ = -1;  // where the handler writes the signals' numbers
  int stop_signal_ = 0;
};

}  // namespace tly::agent
