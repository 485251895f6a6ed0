// A limit on calls into the library that wait for its tool.
#pragma once

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

}  // namespace tly::agent
