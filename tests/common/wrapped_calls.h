// C library calls of this program, and of the library in it, that a test makes fail or observes.
#pragma once

#include <atomic>
#include <string>

namespace tly::test {

inline std::atomic<bool> mutex_initialisation_fails = false;
inline std::atomic<int> mutexes_initialised = 0;
inline std::string
    last_syslog_message;  // priority and text; the tests never reach the system's log

}  // namespace tly::test
