// Durations, trends, tables and numbers as text.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "common/duration.h"
#include "common/listen_address.h"
#include "common/text.h"
#include "export/metric_names.h"
#include "output/sparkline.h"
#include "output/table.h"
#include "output/value_format.h"

namespace tly::agent {
namespace {

using std::chrono::nanoseconds;

TEST(Duration, TakesANumberWithAUnitWithinItsLimits) {
  const std::vector<std::pair<const char*, long long>> accepted_ms = {
      {"1", 1000},    {"1s", 1000},   {"1.5s", 1500},    {"500ms", 500}, {"1ms", 1},
      {"2m", 120000}, {".5m", 30000}, {"24h", 86400000}, {"0.0005m", 30}};
  for (const auto& [text, milliseconds] : accepted_ms) {
    EXPECT_EQ(parse_duration(text), nanoseconds(milliseconds * 1'000'000)) << text;
  }
  for (const char* text : {"", "s", "0", "-1s", "+1s", " 1s", "1 s", "1S", "1sec", "0.9ms", "24.1h",
                           "1e3", "inf", "nan", "0x10", "1,5s", "99999999999999999999h"}) {
    EXPECT_EQ(parse_duration(text), std::nullopt) << text;
  }
  EXPECT_EQ(duration_text(std::chrono::milliseconds(1500)), "1.5s");
  EXPECT_EQ(duration_text(std::chrono::milliseconds(20)), "20ms");
}

TEST(ListenAddress, IsANumericAddressAndAPort) {
  EXPECT_EQ(parse_listen_address("0.0.0.0:65535")->text(), "0.0.0.0:65535");
  EXPECT_EQ(parse_listen_address("localhost:0")->text(), "127.0.0.1:0");
  for (const char* text : {"", ":", "127.0.0.1", ":9877", "9877", "127.0.0.1:", "127.0.0.1:+1",
                           "127.0.0.1:65536", "127.0.0.1:80s", "127.0.0.1:1,127.0.0.1:2",
                           "host:9877", "127.1:9877", "[::1]:9877", " 127.0.0.1:9877"}) {
    EXPECT_FALSE(parse_listen_address(text)) << text;
  }
}

TEST(MetricName, FollowsTheConventionsOfNamesAndBaseUnits) {
  struct Case {
    const char* counter;
    const char* units;
    tly_counting_type_t type;
    const char* name;
    const char* instance;
    double of_3000;
  };
  constexpr tly_counting_type_t kValue = TLY_COUNTING_TYPE_ABSOLUTE;
  constexpr tly_counting_type_t kPeak = TLY_COUNTING_TYPE_ABSOLUTE_MONOTONIC;
  constexpr tly_counting_type_t kSum = TLY_COUNTING_TYPE_RUNNING_SUM;
  for (const Case& expected : std::vector<Case>{
           {"disk:sda:read_ms", "", kSum, "tallyra_read_seconds_total", "sda", 3},
           {"disk:0000:00:1f.2:Reads-Done", "", kSum, "tallyra_reads_done_total", "0000:00:1f.2",
            3000},
           {"sda:wait", "us", kValue, "tallyra_wait_seconds", "sda", 0.003},
           {"free_bytes", "bytes", kValue, "tallyra_free_bytes", "", 3000},
           {"disks:x", "", kPeak, "tallyra_x", "disks", 3000},
           {"freq_MHz", "", kPeak, "tallyra_freq_hertz", "", 3e9},
           {"paged_kib", "KiB", kSum, "tallyra_paged_bytes_total", "", 3072000},
           {"rx_bytes_per_s", "", kValue, "tallyra_rx_bytes_per_second", "", 3000},
           {"sent_total", "", kSum, "tallyra_sent_total", "", 3000},
           {"swap_total", "", kValue, "tallyra_swap_total_value", "", 3000},
           {"thread__count", "", kValue, "tallyra_thread_count_value", "", 3000},
           {"agent_build_info", "", kValue, "tallyra_provider_agent_build_info", "", 3000},
           {"disk::caf\xc3\xa9 %", "%", kValue, "tallyra_caf", "", 3000},
           {"disk:sda:", "ms", kSum, "tallyra_seconds_total", "sda", 3},
           {"", "", kValue, "tallyra_unnamed", "", 3000}}) {
    tly_counter_info_t counter{};
    std::string name = expected.counter;
    std::string units = expected.units;
    counter.name = name.data();
    counter.units = units.data();
    counter.counting_type = expected.type;
    const MetricName metric = metric_name("disk", counter);
    EXPECT_EQ(metric.name, expected.name) << name;
    EXPECT_EQ(metric.instance, expected.instance) << name;
    EXPECT_DOUBLE_EQ(3000 * metric.multiplier / metric.divisor, expected.of_3000) << name;
  }
}

TEST(Sparkline, DrawsTheLastPointsBetweenTheirExtremes) {
  const double nothing = std::numeric_limits<double>::quiet_NaN();
  const double largest = std::numeric_limits<double>::max();
  EXPECT_EQ(sparkline({0, 1, 2, 3, 4, 5, 6, 7}, 8, true), "▁▂▃▄▅▆▇█");
  EXPECT_EQ(sparkline({900, 1, 8, 1}, 3, true), "▁█▁");
  EXPECT_EQ(sparkline({5, 5}, 4, true), "  ▁▁");
  EXPECT_EQ(sparkline({nothing, 1, nothing, 2}, 4, false), " _ #");
  EXPECT_EQ(sparkline({-largest, 0, largest}, 3, false), "_=#");
  EXPECT_EQ(sparkline({}, 2, true), "  ");
  EXPECT_EQ(sparkline({1}, 0, true), "");
}

TEST(Table, ShrinksOneColumnAndNeverExceedsTheWidth) {
  Table table({{.heading = "NAME", .may_shrink = true}, {.heading = "N", .align = Align::kRight}});
  table.add_row({"a-rather-long-name", "1"});
  table.add_row({"é\x1b\xff", "12345"});
  using Lines = std::vector<std::string>;
  EXPECT_EQ(table.lines(Table::kUnlimited, "~"),
            (Lines{"NAME                    N", "a-rather-long-name      1",
                   "é??                 12345"}));
  EXPECT_EQ(table.lines(18, "~"),
            (Lines{"NAME             N", "a-rat~-name      1", "é??          12345"}));
  EXPECT_EQ(printable("a\xc3(\xe2\x82"), "a?(??");
  EXPECT_EQ(printable("\u200d\u200e\u061c\u202ea\u2069\u206a"), "\u200d???a?\u206a");
  for (std::size_t width = 0; width < 30; ++width) {
    for (const std::string& line : table.lines(width, "…")) {
      EXPECT_LE(display_width(line), width);
    }
  }
}

TEST(ValueFormat, KeepsEveryDigitOfEveryType) {
  tly_counter_info_t counter{};
  const auto text = [&](tly_data_type_t type, tly_counter_value_t value) {
    counter.data_type = type;
    counter.length = 8;
    return exact_text(counter, &value) + " " + json_text(counter, &value);
  };
  const std::uint64_t all_bits = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(text(TLY_DATA_TYPE_UINT64, {.u64 = all_bits - 1}),
            "18446744073709551614 18446744073709551614");
  EXPECT_EQ(text(TLY_DATA_TYPE_UINT64, {.u64 = all_bits}), " null");
  EXPECT_EQ(text(TLY_DATA_TYPE_INT64, {.u64 = all_bits}), "-1 -1");
  EXPECT_EQ(text(TLY_DATA_TYPE_UNDEFINED, {.i64 = INT64_MIN}),
            "-9223372036854775808 -9223372036854775808");
  EXPECT_EQ(text(TLY_DATA_TYPE_BIT64, {.u64 = all_bits}),
            "0xffffffffffffffff 18446744073709551615");
  EXPECT_EQ(text(TLY_DATA_TYPE_FP64, {.fp64 = 0.1}), "0.1 0.1");
  EXPECT_EQ(text(TLY_DATA_TYPE_FP64, {.fp64 = INFINITY}), "inf null");
  EXPECT_EQ(text(TLY_DATA_TYPE_STRING, {.string = {'a', '"'}}), "a\" \"a\\\"\"");
  EXPECT_EQ(json_string("\x1f\x7f\u009b\u00a0\u202e"), "\"\\u001f\\u007f\\u009b\u00a0\\u202e\"");
  EXPECT_EQ(text(TLY_DATA_TYPE_STRING, {.string = {'1', '2', '3', '4', '5', '6', '7', '8'}}),
            "12345678 \"12345678\"");
}

TEST(ValueFormat, ReadsValuesAtAnyAddressAndNothingAfterShortStrings) {
  char area[11] = "abc";
  const tly_counter_value_t number{.u64 = 1234567890123456789};
  std::memcpy(area + 3, &number, sizeof number);
  tly_counter_info_t counter{};
  counter.data_type = TLY_DATA_TYPE_UINT64;
  EXPECT_EQ(exact_text(counter, area + 3), "1234567890123456789");
  counter.data_type = TLY_DATA_TYPE_STRING;
  counter.length = 3;
  EXPECT_EQ(exact_text(counter, area), "abc");
  EXPECT_EQ(std::string(load_value(counter, area).string), "abc");
}

TEST(ValueFormat, IncreaseOfLargeSumsIsExactAndAResetHasNone) {
  tly_counter_info_t counter{};
  counter.data_type = TLY_DATA_TYPE_UINT64;
  const std::uint64_t large = 1ULL << 63U;
  EXPECT_EQ(increase(counter, {.u64 = large}, {.u64 = large + 1}), 1.0);
  EXPECT_EQ(increase(counter, {.u64 = 5}, {.u64 = 4}), std::nullopt);
  EXPECT_EQ(increase(counter, {.u64 = 5}, {.u64 = UINT64_MAX}), std::nullopt);
  EXPECT_EQ(increase(counter, {.u64 = UINT64_MAX}, {.u64 = 5}), std::nullopt);
  counter.data_type = TLY_DATA_TYPE_INT64;
  EXPECT_EQ(increase(counter, {.i64 = -5}, {.i64 = 5}), 10.0);
  counter.data_type = TLY_DATA_TYPE_FP64;
  EXPECT_EQ(increase(counter, {.fp64 = -1.5}, {.fp64 = 0.5}), 2.0);
  EXPECT_EQ(increase(counter, {.fp64 = 1}, {.fp64 = 0.5}), std::nullopt);
}

TEST(ValueFormat, ShortNumbersStayWithinNineCharacters) {
  for (const auto& [number, text] :
       std::vector<std::pair<double, const char*>>{{0, "0"},
                                                   {12.5, "12.50"},
                                                   {999, "999"},
                                                   {999.96, "1.000k"},
                                                   {1234567, "1.235M"},
                                                   {1e9, "1.000G"},
                                                   {-45678, "-45.68k"},
                                                   {1e30, "1.0e+30"},
                                                   {-1e300, "-1.0e+300"},
                                                   {0.00001, "1.0e-05"},
                                                   {INFINITY, "inf"}}) {
    EXPECT_EQ(short_number(number), text);
  }
}

TEST(ValueFormat, TimestampsBeforeTheEpochKeepTheirMilliseconds) {
  const std::chrono::system_clock::time_point epoch{};
  EXPECT_EQ(utc_timestamp(epoch + std::chrono::milliseconds(1'700'000'000'012)),
            "2023-11-14T22:13:20.012Z");
  EXPECT_EQ(utc_timestamp(epoch - std::chrono::milliseconds(1)), "1969-12-31T23:59:59.999Z");
}

}  // namespace
}  // namespace tly::agent
