#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <deque>
#include <limits>
#include <string_view>
#include <thread>

#include "log_capture.h"
#include "tallyra/logging.h"
#include "tallyra/vintor_provider.h"
#include "tool_shim.h"
#include "vintor/collector.h"

namespace {

using tly::test::LogCapture;
using tly::test::ScopedEnv;
using tly::test::ToolShim;

constexpr auto kUint = TLY_DATA_TYPE_UINT64;
constexpr auto kDouble = TLY_DATA_TYPE_FP64;
constexpr std::uint64_t kNoValue = std::numeric_limits<std::uint64_t>::max();

std::uint64_t bits(double value) { return std::bit_cast<std::uint64_t>(value); }

// A group made by hand.
class Group {
 public:
  Group& add(const char* name, tly_data_type_t type, std::uint32_t offset) {
    tly_counter_info_t& counter = counters_.emplace_back();
    counter.name = const_cast<char*>(name);
    counter.data_type = type;
    counter.offset = offset;
    pointers_.push_back(&counter);
    record_.counters = pointers_.data();
    record_.num_counters = static_cast<std::uint32_t>(pointers_.size());
    return *this;
  }
  tly_counter_group_t* record() { return &record_; }

 private:
  std::deque<tly_counter_info_t> counters_;
  std::vector<tly_counter_info_t*> pointers_;
  tly_counter_group_t record_{};
};

class Sampling : public testing::Test {
 protected:
  bool sample(const std::string& output) {
    shim_.print(output);
    return collector_.doCollection();
  }
  // The 8 bytes at the offset after a read into an area of bytes 0xA5.
  std::uint64_t read(Group& group, std::size_t offset) {
    std::memset(area_, 0xA5, sizeof area_);
    EXPECT_TRUE(vintor_collector_read_group(&collector_, group.record(), area_));
    std::uint64_t value = 0;
    std::memcpy(&value, reinterpret_cast<const char*>(area_) + offset, sizeof value);
    return value;
  }
  void start(Group& group) { EXPECT_TRUE(vintor_collector_add_group(&collector_, group.record())); }
  // Lets the thread run until the tool was started so many times more.
  void run_thread(std::size_t runs) {
    runs += shim_.runs();
    ASSERT_TRUE(vintor_collector_start(&collector_));
    while (shim_.runs() < runs) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    vintor_collector_stop(&collector_);
  }

  ToolShim shim_;
  vintor::collector::Collector collector_;
  tly_counter_value_t area_[64];
};

constexpr std::uint64_t kUntouched = 0xA5A5A5A5A5A5A5A5;

TEST_F(Sampling, StoresValuesAsDiscoveryTypesThem) {
  const struct {
    const char* number;
    std::uint64_t as_unsigned;
  } numbers[] = {{"12.9", 12},
                 {"-3", 0},
                 {"-0.5", 0},
                 {"1e300", kNoValue},
                 {"9007199254740993", 9007199254740992},
                 {"18446744073709551616", kNoValue}};
  Group group;
  group.add("pmc_res:k:v", kUint, 0).add("pmc_res:k:freq_mhz", kDouble, 8);
  group.add("pmc_res_bw:k:v", kDouble, 19);  // unaligned
  start(group);
  for (const auto& [number, as_unsigned] : numbers) {
    SCOPED_TRACE(number);
    const std::string body =
        std::string(R"({"k":{"v":)") + number + R"(,"freq_mhz":)" + number + "}}";
    ASSERT_TRUE(sample("===pmc_res=== " + body + "\n===pmc_res_bw=== " + body));
    EXPECT_EQ(read(group, 0), as_unsigned);
    EXPECT_EQ(read(group, 8), bits(std::stod(number)));
    EXPECT_EQ(read(group, 19), bits(std::stod(number)));
    EXPECT_EQ(read(group, 27), kUntouched);
  }
  const LogCapture log(3);
  ASSERT_TRUE(sample(R"(=== pmc_res === {"k":{"v":1},"a":{"k":{"v":2}},"short":3})"));
  EXPECT_EQ(read(group, 0), 2u) << "the later of two numbers with one name";
  EXPECT_THAT(log.texts(3),
              testing::ElementsAre("[vintor] [addValueCallback] No keys found for the counter - "
                                   "expected at least 3 keys"));
}

TEST_F(Sampling, LooksValuesUpByTheNamesOfStartedGroups) {
  Group group;
  Group second;
  start(group.add("s:k:gone", kUint, 0).add("s:k:gone_too", kDouble, 8).add("s:k:v", kDouble, 16));
  start(second.add("s:k:w", kDouble, 16));                  // takes the offset over
  group.add("s:k:v", kUint, 24).add("s:k:v", kDouble, 32);  // never registered
  ASSERT_TRUE(sample(R"(=== s === {"k":{"v":1,"w":5,"gone":2,"gone_too":3}})"));
  EXPECT_EQ(read(group, 0), bits(2.0));
  ASSERT_TRUE(sample(R"(=== s === {"k":{"v":1,"w":5}})"));
  EXPECT_EQ(read(group, 0), kNoValue);
  EXPECT_EQ(read(group, 8), 0u);
  EXPECT_EQ(read(group, 16), bits(5.0));
  EXPECT_EQ(read(second, 16), bits(5.0));
  EXPECT_EQ(read(group, 24), kNoValue);
  EXPECT_EQ(read(group, 32), 0u);
}

TEST_F(Sampling, KeepsTheLastWholeSampleWhenOneIsDropped) {
  Group group;
  start(group.add("pmc_res:k:v", kUint, 0));
  const LogCapture log;
  EXPECT_EQ(read(group, 0), kUntouched);
  EXPECT_EQ(read(group, 0), kUntouched);
  EXPECT_EQ(log.count(7, "[vintor] [fillBuffer] no data collected"), 1u);
  const std::string good = R"(=== pmc_res === {"k":{"v":7}})";
  const std::string newer = R"(=== pmc_res === {"k":{"v":8}} )";
  ASSERT_TRUE(sample(good));
  EXPECT_FALSE(sample(newer + "=== second === {\"k\": === third === {}"));
  EXPECT_FALSE(sample(newer + "=== end ==="));
  EXPECT_FALSE(sample(""));
  shim_.print(newer, 1);
  EXPECT_FALSE(collector_.doCollection());
  EXPECT_FALSE(collector_.doCollection());
  EXPECT_EQ(read(group, 0), 7u);
  EXPECT_THAT(
      log.texts(3),
      testing::ElementsAre(
          "[vintor] Failed to parse the input string as JSON",
          "[vintor] Failed to parse and enumerate the input JSON string",
          "[vintor] Failed to split the input JSON into sections - got 1 offsets and 2 names",
          "[vintor] Failed to split the input string by sections"));
  EXPECT_THAT(log.texts(4),
              testing::ElementsAre("[vintor] Got empty output", "[vintor] Failed to get data"));
}

TEST_F(Sampling, StartsSamplesOneIntervalApart) {
  using namespace std::chrono_literals;
  const ScopedEnv interval("VINTOR_SAMPLE_INTERVAL_NSEC", "400000000 ns");
  shim_.behave("sleep 0.3; echo '=== s === {}'");
  // Each takes 700 ms at least if the pauses are as long as the interval. A busy machine may delay
  // some.
  auto shortest = std::chrono::steady_clock::duration::max();
  for (int i = 0; i < 20 && shortest >= 700ms; ++i) {
    const auto start = std::chrono::steady_clock::now();
    run_thread(1);
    shortest = std::min(shortest, std::chrono::steady_clock::now() - start);
  }
  EXPECT_TRUE(shortest >= 400ms && shortest < 700ms);
}

TEST_F(Sampling, GoesOnAfterAStopAndReportsAFailingToolOnce) {
  const ScopedEnv interval("TLY_VINTOR_SAMPLE_INTERVAL_NSEC", "-1");
  Group group;
  start(group.add("pmc_res:k:v", kUint, 0));
  const LogCapture log;
  for (const auto& [output, expected] :
       {std::pair{R"(=== pmc_res === {"k":{"v":1}})", 1u}, std::pair{"", 1u},
        std::pair{R"(=== pmc_res === {"k":{"v":2}})", 2u}}) {
    shim_.print(output, *output == '\0' ? 3 : 0);
    run_thread(4);
    EXPECT_EQ(read(group, 0), expected);
  }
  EXPECT_THAT(log.texts(4), testing::ElementsAre("[vintor] Failed to get data"));
  EXPECT_THAT(log.texts(3), testing::ElementsAre("[vintor] failed to collect data"));
  EXPECT_EQ(log.count(7, "[vintor] [collectionLoop] Starting collection loop"), 3u);
  EXPECT_EQ(log.count(7, "[vintor] [collectionLoop] Finished collection loop"), 3u);
}

// A collector, and whether it is started, for a log function that destroys it.
std::atomic<void*> doomed = nullptr;
std::atomic<bool> is_destroyed = false;

void destroy_when_sampling_fails(int, const char* format, ...) {
  if (std::string_view(format) == "[vintor] Failed to get data") {
    while (doomed == nullptr) {
      std::this_thread::yield();
    }
    vintor_collector_destroy_ctx(doomed);
    is_destroyed = true;
  }
}

TEST_F(Sampling, DestroyedOnItsOwnThreadOnlyStops) {
  shim_.print("", 3);
  const LogCapture log;
  tly_set_log_func(&destroy_when_sampling_fails, 4);
  void* const collector = vintor_collector_initialize_ctx();
  ASSERT_TRUE(vintor_collector_start(collector));
  doomed = collector;
  while (!is_destroyed) {
    std::this_thread::yield();
  }
  EXPECT_FALSE(vintor_collector_start(collector)) << "its thread was not waited for";
  vintor_collector_destroy_ctx(collector);
}

}  // namespace
