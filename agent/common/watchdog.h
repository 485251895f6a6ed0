// A limit on calls into the library that wait for its tool.
#pragma once

#include <signal.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace tly::agent {

// Unless it is destroyed within the limit, reports what is wrong, ends the processes that this one
// has started, and ends this one with the status.
// The call under way cannot be abandoned in any other way: it waits for a process that hangs.
class Watchdog {
 public:
  Watchdog(std::chrono::nanoseconds limit, int exit_status, std::string message,
           std::string advice = {});
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  // Called before the process is ended, on a thread of its own; null for nothing.
  static void set_preparation(void (*prepare_exit)());

 private:
  void watch(std::chrono::nanoseconds limit);

  int exit_status_;
  std::string message_;
  std::string advice_;
  std::mutex mutex_;
  std::condition_variable is_called_off_changed_;
  bool is_called_off_ = false;
  std::thread thread_;
};

// While alive, a signal that ends the process also ends the processes that it has started. One at a
// time, and not beside a SignalWaiter.
class EndBySignal {
 public:
  EndBySignal();
  ~EndBySignal();
  EndBySignal(const EndBySignal&) = delete;
  EndBySignal& operator=(const EndBySignal&) = delete;

 private:
  static constexpr std::array<int, 4> kSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

  std::array<struct sigaction, kSignals.size()> previous_actions_{};
  int descriptor_ = -1;  // where the handler writes the signal's number
  std::thread thread_;
};

}  // namespace tly::agent
