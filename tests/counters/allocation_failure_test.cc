// Each allocation of an operation fails in turn: the operation says so, keeps what must stay as it
// was, and (under the address sanitizer) leaks nothing.
#include <gmock/gmock.h>

#include <cstddef>

#include "counters_test_support.h"
#include "log_capture.h"
#include "tallyra/name_matching.h"

namespace {

// Allocations until the one that fails; negative when none will.
int allocations_left = -1;

bool fails_now() { return allocations_left >= 0 && allocations_left-- == 0; }

}  // namespace

#define WRAP_ALLOCATION(Result, name, parameters, arguments) \
  extern "C" Result __real_##name parameters;                \
  extern "C" Result __wrap_##name parameters {               \
    return fails_now() ? nullptr : __real_##name arguments;  \
  }
WRAP_ALLOCATION(void*, malloc, (std::size_t size), (size))
WRAP_ALLOCATION(void*, calloc, (std::size_t count, std::size_t size), (count, size))
WRAP_ALLOCATION(void*, realloc, (void* block, std::size_t size), (block, size))
WRAP_ALLOCATION(char*, strdup, (const char* text), (text))
WRAP_ALLOCATION(char*, strndup, (const char* text, std::size_t length), (text, length))

namespace tly::test {
namespace {

using testing::Contains;
using testing::ElementsAre;

// Runs check(fired) once per allocation that operation() makes and then undisturbed: check receives
// the operation's result and whether an allocation failed.
template <typename Operation, typename Check>
void with_each_allocation_failing(Operation operation, Check check) {
  bool fired = true;
  for (int index = 0; fired; ++index) {
    allocations_left = index;
    const auto result = operation();
    fired = allocations_left < 0;
    allocations_left = -1;
    check(result, fired);
  }
}

constexpr auto kNullWhenFired = [](const auto& result, bool fired) {
  EXPECT_EQ(result == nullptr, fired);
};

// A text may be missing from an encoding, but an array is whole.
constexpr auto kNullOrTwoElements = [](const JsonPtr& encoded, bool) {
  const JSON_Object* object = json_value_get_object(encoded.get());
  const std::size_t count = json_array_get_count(json_object_get_array(object, "counters")) +
                            json_array_get_count(json_object_get_array(object, "counter_sets"));
  EXPECT_TRUE(encoded == nullptr || count == 2);
};

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
  with_each_allocation_failing([&] { return JsonPtr(tly_counter_group_jsonify(group.get())); },
                               kNullOrTwoElements);
  with_each_allocation_failing(
      [&] { return JsonPtr(tly_counter_group_values_jsonify(group.get(), values)); },
      kNullOrTwoElements);
  EXPECT_THAT(log.texts(3), Contains("Failed allocating JSON object"));
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
