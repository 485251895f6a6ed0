#include "common/rate_limited_log.h"

#include <gtest/gtest.h>

#include "log_capture.h"

namespace tly::test {
namespace {

TEST(RateLimitedLog, AMessageIsIssuedAgainOnlyAfterTenSeconds) {
  LastIssuedUs last_issued_us{0};
  const LogCapture log(TLY_LOG_LEVEL_WARNING);
  const auto issue_twice = [&](int level) {
    TLY_LOG_RATE_LIMITED(last_issued_us, level, "tool failed %d", 1);
    TLY_LOG_RATE_LIMITED(last_issued_us, level, "tool failed %d", 1);
    return log.count(level, "tool failed 1");
  };
  EXPECT_EQ(issue_twice(TLY_LOG_LEVEL_INFO), 0u);
  EXPECT_EQ(last_issued_us, 0u) << "the level was not enabled";
  EXPECT_EQ(issue_twice(TLY_LOG_LEVEL_WARNING), 1u);
  last_issued_us -= 9'000'000;
  EXPECT_EQ(issue_twice(TLY_LOG_LEVEL_WARNING), 1u);
  last_issued_us -= 1'000'000;
  EXPECT_EQ(issue_twice(TLY_LOG_LEVEL_WARNING), 2u);
}

}  // namespace
}  // namespace tly::test
