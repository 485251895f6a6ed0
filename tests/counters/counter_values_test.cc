#include <gmock/gmock.h>

#include <bit>
#include <climits>
#include <cmath>
#include <cstring>

#include "counters_test_support.h"
#include "log_capture.h"

namespace tly::test {
namespace {

tly_counter_value_t integer(int64_t number) { return std::bit_cast<tly_counter_value_t>(number); }
tly_counter_value_t real(double number) { return std::bit_cast<tly_counter_value_t>(number); }

std::string cell(tly_data_type_t data_type, int width, const void* value, uint32_t length = 8) {
  const CounterPtr counter = make_counter("n", data_type, 0, length);
  return printed([&](FILE* stream) {
    tly_print_counter_value(stream, counter.get(), width,
                            static_cast<const tly_counter_value_t*>(value));
  });
}

TEST(ValuesJson, ReadsEachTypeAtItsByteOffsetAndLeavesOutWhatJsonCannotHold) {
  const LogCapture log;
  const GroupPtr group = make_group(
      {make_counter("u", TLY_DATA_TYPE_UINT64, 1), make_counter("b", TLY_DATA_TYPE_BIT64, 1),
       make_counter("i", TLY_DATA_TYPE_INT64, 1), make_counter("none", TLY_DATA_TYPE_UNDEFINED, 1),
       make_counter("f", TLY_DATA_TYPE_FP64, 9), make_counter("nan", TLY_DATA_TYPE_FP64, 17),
       make_counter("s", TLY_DATA_TYPE_STRING, 25, 3),
       make_counter("cut", TLY_DATA_TYPE_STRING, 28, 3),
       make_counter("empty", TLY_DATA_TYPE_STRING, 25, 0),
       make_counter("latin", TLY_DATA_TYPE_STRING, 31, 1)});
  alignas(8) char area[32];
  const tly_counter_value_t numbers[] = {integer(-1), real(0.5), real(NAN)};
  std::memcpy(area + 1, numbers, sizeof numbers);
  const char texts[] = {'a', 'b', 'c', 'x', '\0', 'y', '\xE9'};
  std::memcpy(area + 25, texts, sizeof texts);
  EXPECT_EQ(
      serialized(tly_counter_group_values_jsonify(
          group.get(), reinterpret_cast<const tly_counter_value_t*>(area))),
      R"({"granularity":"NODE","name":"unset","counter_sets":[{"u":1.8446744073709552e+19,)"
      R"("b":1.8446744073709552e+19,"i":-1,"none":-1,"f":0.5,"s":"abc","cut":"x","empty":""}]})");
  ASSERT_EQ(log.texts(7).size(), 3U);
  EXPECT_THAT(log.texts(7)[1], testing::StartsWith("78 00 79 "));
}

TEST(ValueCells, FollowTheirTypesAndNeverAlignLeft) {
  const struct {
    tly_data_type_t data_type;
    int width;
    tly_counter_value_t value;
    const char* expected;
  } cases[] = {
      {TLY_DATA_TYPE_INT64, 20, integer(999), "                  999 |"},
      {TLY_DATA_TYPE_INT64, 20, integer(1500), "                  1 k |"},
      {TLY_DATA_TYPE_UNDEFINED, 0, integer(INT64_MIN), " -9223372036854775808 |"},
      {99, 4, integer(-5), "   -5 |"},
      {TLY_DATA_TYPE_UINT64, 6, integer(1500), "   1500(u) |"},
      {TLY_DATA_TYPE_BIT64, 18, integer(-1), "   FFFFFFFFFFFFFFFF |"},
      {TLY_DATA_TYPE_FP64, 20, real(1.5), "            1.500 |"},
      {TLY_DATA_TYPE_FP64, INT_MIN, real(INFINITY), " inf |"},
  };
  for (const auto& [data_type, width, value, expected] : cases) {
    EXPECT_EQ(cell(data_type, width, &value), expected);
  }
  // A text ends at its terminator, its length or the width.
  const std::string text("ab\0defgh", 8);
  EXPECT_EQ(cell(TLY_DATA_TYPE_STRING, 4, text.data(), 5), "   ab |");
  EXPECT_EQ(cell(TLY_DATA_TYPE_STRING, 4, text.data() + 3, 2), "   de |");
  EXPECT_EQ(cell(TLY_DATA_TYPE_STRING, 1, text.data() + 3, 2), " d |");
  EXPECT_EQ(cell(TLY_DATA_TYPE_STRING, -9, text.data() + 3, 2), "  |");
}

TEST(GroupPrints, ShowOneRowPerCounterAndOneRowPerSet) {
  const GroupPtr group = make_group({make_counter("a", 4), make_counter("b", 4)}, 2);
  tly_counter_value_t values[] = {integer(1), integer(2), integer(3), integer(4)};
  const auto table = [&] {
    return printed(
        [&](FILE* stream) { tly_print_counter_group_values(group.get(), values, stream); });
  };
  const auto line = [](std::size_t dashes) { return std::string(dashes, '-') + "\n"; };
  const auto column = [](const char* text) { return std::string(20, ' ') + text + " |"; };
  const std::string blanks = "                          ";
  EXPECT_EQ(printed([&](FILE* stream) { tly_print_counter_group(group.get(), stream); }),
            line(42) + "| Granularity per NODE (2 counter sets) \n" + line(42) +
                "|  # | Active counter       | Description   " + blanks + "\n" + line(42) +
                "|  0 | a                    | what it counts" + blanks + "\n" +
                "|  1 | b                    | what it counts" + blanks + "\n" + line(42));
  EXPECT_EQ(table(), line(54) + "| Counter values per NODE " + blanks + " |\n" + line(54) +
                         "| NODE |" + column("a") + column("b") + "\n" + line(54) + "|    0 |" +
                         column("1") + column("2") + "\n" + "|    1 |" + column("3") + column("4") +
                         "\n" + line(54));
  // A slot holds 8 bytes, whatever the length of the counter.
  group->counters[1]->data_type = TLY_DATA_TYPE_STRING;
  group->counters[1]->length = 64;
  std::memcpy(&values[3], "12345678", 8);
  EXPECT_THAT(table(), testing::HasSubstr(std::string(13, ' ') + "12345678 |\n" + line(54)));
  // Without sets there is no label column, and without counters the table is narrower than its
  // title.
  group->num_counter_sets = 0;
  EXPECT_THAT(table(), testing::HasSubstr("\n|" + column("a") + column("b") + "\n" + line(47)));
  std::swap(group->num_counters, group->num_counter_sets);
  EXPECT_THAT(table(), testing::StartsWith(line(8) + "| Counter values per NODE            |\n"));
  group->num_counters = 2;
}

TEST(ValuesReset, ClearsTheSlotsOfAllSetsAndNoMore) {
  const GroupPtr group =
      make_group({make_counter("a", 1), make_counter("b", 1), make_counter("c", 1)}, 2);
  uint64_t slots[] = {1, 1, 1, 1, 1, 1, 1};
  tly_reset_counter_group_values(group.get(), reinterpret_cast<tly_counter_value_t*>(slots));
  EXPECT_THAT(slots, testing::ElementsAre(0, 0, 0, 0, 0, 0, 1));
}

}  // namespace
}  // namespace tly::test
