// C library calls of this program, and of the library in it, that a test makes fail or observes.
#pragma once

#include <atomic>
#include <string>

namespace tly::test {

inline std::atomic<int> allocations_until_failure = -1;  // none fails when negative
inline std::atomic<bool> mutex_initialisation_fails = false;
inline std::atomic<int> mutexes_initialised = 0;
inline std::string
    last_syslog_message;  // priority and text; the tests never reach the system's log

// While alive, lets some allocations through and makes the next one fail.
struct FailingAllocation {
  explicit FailingAllocation(int successes = 0) { allocations_until_failure = successes; }
  ~FailingAllocation() { allocations_until_failure = -1; }
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
};

}  // namespace tly::test
