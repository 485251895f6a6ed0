#include "tallyra/counter_data.h"

#include <gmock/gmock.h>

#include <ctime>
#include <tuple>

#include "counters_test_support.h"
#include "log_capture.h"

namespace tly::test {
namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

CounterPtr decode(const std::string& further_members, const std::string& type = "UINT64") {
  return CounterPtr(tly_counter_info_from_json(
      parse(R"({"name":"n","description":"d","units":"MB/s","data_type":")" + type +
            R"(","counting_type":"RUNNING_SUM")" + further_members + "}")
          .get()));
}

TEST(CounterEnumerations, NamesAreExactAndUnknownValuesHaveNone) {
  const char* const data_types[] = {"Undefined", "UINT64", "FP64", "BIT64", "INT64", "STRING"};
  for (uint32_t value = 0; value < std::size(data_types); ++value) {
    EXPECT_STREQ(tly_data_type_string(value), data_types[value]);
    EXPECT_EQ(tly_data_type_from_string(data_types[value]), value);
  }
  EXPECT_EQ(tly_data_type_from_string("uint64"), TLY_ENUM_UNKNOWN);
  EXPECT_STREQ(tly_counting_type_string(1), "ABSOLUTE_MONOTONIC");
  EXPECT_EQ(tly_granularity_from_string("PACKAGE"), 2U);
  EXPECT_EQ(tly_counting_type_string(TLY_ENUM_UNKNOWN), nullptr);
}

TEST(CounterInfo, DecodingTruncatesAndSaturatesNumbersAndReadsFlagsFromNumbersOnly) {
  const struct {
    const char* members;
    uint32_t offset, length;
    bool hidden, mandatory;
  } cases[] = {
      {"", 0, 0, false, false},
      {R"(,"offset":16,"length":3.9,"hidden":0.5,"mandatory":-2)", 16, 3, false, true},
      {R"(,"offset":-1,"length":-1.9,"hidden":true,"mandatory":1e300)", ~0U, ~0U, false, true},
      {R"(,"offset":1e300,"length":-1e300)", ~0U, 0x80000000, false, false},
      {R"(,"offset":4294967295,"length":2147483648)", ~0U, 0x80000000, false, false},
  };
  for (const auto& [members, offset, length, hidden, mandatory] : cases) {
    const CounterPtr counter = decode(members);
    ASSERT_NE(counter, nullptr) << members;
    EXPECT_EQ(std::tie(counter->offset, counter->length, counter->hidden, counter->mandatory),
              std::tie(offset, length, hidden, mandatory))
        << members;
  }
}

TEST(CounterInfo, CopiesAndEncodingsKeepEverythingThatIsThere) {
  const CounterPtr unknown = decode(R"(,"offset":24,"hidden":1)", "FLOAT");
  unknown->aux = 9;
  unknown->id = 7;
  unknown->mandatory = true;
  const CounterPtr copy(tly_counter_info_deep_copy(unknown.get()));
  EXPECT_EQ(copy->aux, 9U);
  EXPECT_EQ(copy->id, 7U);
  EXPECT_EQ(serialized(tly_counter_info_jsonify(copy.get())),
            R"({"name":"n","description":"d","units":"MB\/s","length":0,"offset":24,"hidden":1,)"
            R"("mandatory":1,"counting_type":"RUNNING_SUM"})");
  tly_counter_info_t unnamed{};
  const CounterPtr unnamed_copy(tly_counter_info_deep_copy(&unnamed));
  EXPECT_EQ(serialized(tly_counter_info_jsonify(unnamed_copy.get())),
            R"({"data_type":"Undefined","length":0,"offset":0,"hidden":0,"mandatory":0,)"
            R"("counting_type":"ABSOLUTE"})");
}

TEST(Release, WarnsOncePerMissingMemberAndFreesTheRest) {
  const LogCapture log;
  auto* component = allocate_zeroed<tly_component_t>().release();
  component->name = strdup("c");
  component->status_string = strdup("off");
  component->num_counters = 2;
  component->counters = static_cast<tly_counter_info_t**>(std::calloc(2, sizeof(void*)));
  component->counters[1] = make_counter("n", 0).release();
  std::free(component->counters[1]->description);
  component->counters[1]->description = nullptr;
  tly_free_component_info(component);
  EXPECT_THAT(log.texts(7), ElementsAre("Free component c"));
  const std::string reason = " [0-9]+ attempted to free NULL ptr";
  EXPECT_THAT(log.texts(4),
              ElementsAre(MatchesRegex("on counter_provider, tly_free_component_info" + reason),
                          MatchesRegex("on counter_data, tly_destroy_counter_info" + reason)));
}

TEST(DataBlock, IsStampedMarkedAndPrinted) {
  tly_magic_value_t lower;
  tly_magic_value_fill_lower(&lower, 'D');
  EXPECT_EQ(std::string(lower.bytes, 4), "tlyd");
  EXPECT_FALSE(tly_magic_value_match_type(&lower, 'd'));
  tly_magic_value_t copy{};
  tly_magic_value_copy(&copy, &lower);
  EXPECT_TRUE(tly_magic_value_match(&lower, &copy));

  tly_counters_data_t block;
  std::memset(static_cast<void*>(&block), 'x', sizeof block);
  const auto before = static_cast<uint64_t>(std::time(nullptr)) * 1'000'000;
  tly_counters_data_reset(&block);
  EXPECT_EQ(std::memcmp(&block, "TLYD\0\0\0\0", 8), 0);
  EXPECT_TRUE(tly_magic_value_match_type(&block.magic, 'D'));
  EXPECT_FALSE(tly_magic_value_match(&block.magic, &lower));
  EXPECT_GE(block.timestamp, before);
  EXPECT_LT(block.timestamp, before + 60'000'000);

  block.padding = ~0U;  // no NUL ends the magic
  block.timestamp = 1234567;
  EXPECT_EQ(printed([data = &block](FILE* stream) { tly_counters_data_print_info(stream, data); }),
            "Data block\n magic number         = TLYD\n last timestamp       = 1234567\n");
  testing::internal::CaptureStdout();
  tly_counters_data_print_struct_layout();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Field                       Offset    Size\n"
            " header.magic               0         4\n"
            " padding                    4         4\n"
            " timestamp                  8         8\n"
            " values[]                   16      \n");
}

}  // namespace
}  // namespace tly::test
