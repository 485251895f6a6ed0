// Each allocation of an operation fails in turn: the operation says so, keeps what must stay as it
// was, and (under the address sanitizer) leaks nothing.
#include <gmock/gmock.h>

#include "allocation_failure.h"
#include "counters_test_support.h"
#include "log_capture.h"
#include "tallyra/counters_schema.h"
#include "tallyra/name_matching.h"

namespace tly::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;

constexpr auto kNullWhenFired = [](const auto& result, bool fired) {
  EXPECT_EQ(result == nullptr, fired);
};

// Checks that encode() gives its whole text or, when an allocation failed, none.
template <typename Encode>
void expect_whole_or_absent(Encode encode) {
  const std::string whole = encode();
  with_each_allocation_failing(encode, [&whole](const std::string& text, bool fired) {
    EXPECT_TRUE(text == whole || (fired && text == "null pointer")) << text;
  });
}

TEST(AllocationFailure, RecordsAreWholeOrAbsent) {
  const LogCapture log;
  const GroupPtr group = make_group({make_counter("a", 1), make_counter("b", 5, 8)}, 2);
  group->name = strdup("g");
  group->provider_name = strdup("p");
  const tly_counter_value_t values[2]{};
  const JsonPtr json(tly_counter_group_jsonify(group.get()));
  with_each_allocation_failing([&] { return GroupPtr(tly_counter_group_from_json(json.get())); },
                               kNullWhenFired);
  EXPECT_THAT(log.texts(4), ElementsAre());
  with_each_allocation_failing(
      [&] { return CounterPtr(tly_counter_info_deep_copy(group->counters[0])); }, kNullWhenFired);
  expect_whole_or_absent([&] { return serialized(tly_counter_group_jsonify(group.get())); });
  expect_whole_or_absent(
      [&] { return serialized(tly_counter_group_values_jsonify(group.get(), values)); });
  EXPECT_THAT(log.texts(3), Contains("Failed allocating JSON object"));
}

TEST(AllocationFailure, CountersSchemasAreWholeOrAbsent) {
  LogCapture log(3);
  const CountersSchemaPtr schema(tly_create_counters_schema());
  tly_counter_group_t* group = make_group({make_counter("a", 1)}).release();
  with_each_allocation_failing(
      [&] { return tly_counters_schema_append_group(schema.get(), group); },
      [](bool appended, bool fired) { EXPECT_EQ(appended, !fired); });
  expect_whole_or_absent([&] { return serialized(tly_counters_schema_jsonify(schema.get())); });
  EXPECT_THAT(log.texts(3),
              IsSupersetOf({"Failed allocating memory for 1's group: Cannot allocate memory",
                            "[tly_counters_schema_jsonify] json_value_init_object() failed",
                            "Failed to JSONify counter group #0",
                            "Failed to append JSON array with counter group #0"}));
  log.clear();
  const JsonPtr json(tly_counters_schema_jsonify(schema.get()));
  with_each_allocation_failing(
      [&] { return CountersSchemaPtr(tly_counters_schema_from_json(json.get())); }, kNullWhenFired);
  EXPECT_THAT(log.texts(3),
              IsSupersetOf({"failed to allocate schema",
                            "Failed to allocate schema object: Cannot allocate memory",
                            "Failed to allocate counter groups array: Cannot allocate memory",
                            "Failed to decode counter group from JSON"}));
}

TEST(AllocationFailure, AGroupCountsTheCountersItHad) {
  const LogCapture log;
  const CounterPtr counter = make_counter("n", 1);
  const GroupPtr group = make_group({make_counter("first", 1)});
  with_each_allocation_failing([&] { return tly_add_counter_to_group(group.get(), counter.get()); },
                               [&](bool added, bool fired) {
                                 EXPECT_EQ(added, !fired);
                                 EXPECT_EQ(group->num_counters, added ? 2U : 1U);
                               });
  std::vector<std::string> messages(5, "Deep copy of the counter failed");
  messages[0] = "Failed to allocate array of 2 counter pointers";
  EXPECT_EQ(log.texts(3), messages);
}

TEST(AllocationFailure, MatchingNamesLogsAndGivesUp) {
  const LogCapture log(3);
  const StringArrayPtr names = make_strings({"a.b", "b"});
  const StringArrayPtr forced = make_strings({"a.b", "m"});
  with_each_allocation_failing(
      [&] {
        return StringArrayPtr(
            tly_match_counter_names(names.get(), names.get(), nullptr, forced.get(), 0));
      },
      kNullWhenFired);
  EXPECT_THAT(log.texts(3), Contains("could not join mandatory counters properly to names array"));
  EXPECT_EQ(log.texts(3).back(), "failed to match counter names");
  allocations_left = 0;
  EXPECT_FALSE(tly_match_patterns("b", names.get(), TLY_NAME_MATCHING_WILDCARD));
  EXPECT_EQ(log.texts(3).back(), "Error: unable to allocate memory for wildcard string search");
  allocations_left = 0;
  EXPECT_FALSE(tly_plugin_file_component_is_enabled("a.so", names.get()));
  EXPECT_EQ(log.texts(3).back(), "Error: unable to allocate memory for component string search");
}

}  // namespace
}  // namespace tly::test
