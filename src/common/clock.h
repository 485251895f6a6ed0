// The time as records and messages carry it.
#pragma once

#include <cstdint>
#include <ctime>

namespace tly {

// The clock's time in microseconds.
inline std::uint64_t microseconds_now(clockid_t clock = CLOCK_REALTIME) noexcept {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 +
         static_cast<std::uint64_t>(now.tv_nsec) / 1'000;
}

}  // namespace tly
