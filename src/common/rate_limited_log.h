// Messages that a failing periodic path would repeat: each is issued at most once per 10 seconds.
#pragma once

#include <atomic>
#include <cstdint>

#include "common/clock.h"
#include "tallyra/logging.h"

namespace tly {

// When a message was last issued, in microseconds of the real-time clock; 0 for never. Keep one per
// message with static storage; call sites that share it count as one message.
using LastIssuedUs = std::atomic<std::uint64_t>;

// Whether the message may be issued now; if so, the time is recorded. Of several threads at the
// same moment one is told true. A clock that was set back does not silence the message.
inline bool claim_issue(LastIssuedUs& last_issued_us) noexcept {
  constexpr std::uint64_t kSilentForUs = 9'999'999;
  // The clock is read after the record: were it read before, another thread's claim could come in
  // between and lie in the future, as if the clock had been set back.
  std::uint64_t last_us = last_issued_us.load(std::memory_order_acquire);
  const std::uint64_t now_us = microseconds_now();
  return now_us - last_us > kSilentForUs &&
         last_issued_us.compare_exchange_strong(last_us, now_us, std::memory_order_relaxed);
}

}  // namespace tly

// TLY_LOG with a record. When the level is not enabled neither the clock nor the record is touched.
#define TLY_LOG_RATE_LIMITED(last_issued_us, level, ...)                                          \
  do {                                                                                            \
    if (tly_log_is_enabled(static_cast<uint32_t>(level)) && ::tly::claim_issue(last_issued_us)) { \
      TLY_LOG(level, __VA_ARGS__);                                                                \
    }                                                                                             \
  } while (0)
