#include "tallyra/counter_group.h"

#include <gmock/gmock.h>

#include "counters_test_support.h"
#include "log_capture.h"

namespace tly::test {
namespace {

// How the provider answers, and how many of its groups exist.
bool accepts;
uint32_t raises_by;
int groups_alive;

bool read_or_stop(tly_counter_group_t*, tly_counter_value_t* values) { return values == nullptr; }

struct ProvidedGroup : testing::Test {
  ProvidedGroup() {
    provider.name = component.name = name.data();
    provider.counter_group_create = [](const tly_component_t*) {
      ++groups_alive;
      return allocate_zeroed<tly_counter_group_t>().release();
    };
    provider.counter_group_destroy = [](tly_counter_group_t* group) {
      tly_free_counter_group(group);
      return --groups_alive >= 0;
    };
    provider.counter_group_add_counter = [](tly_counter_group_t* group, const tly_counter_info_t*) {
      group->num_counters += raises_by;
      return accepts;
    };
    provider.counter_group_stop = provider.counter_group_read = &read_or_stop;
    component.id = 3;
  }
  ~ProvidedGroup() override { EXPECT_EQ(groups_alive, 0); }

  GroupPtr create() { return GroupPtr(tly_create_counter_group(&provider, &component)); }

  std::string name = "vintor";
  tly_provider_t provider{};
  tly_component_t component{};
};

TEST_F(ProvidedGroup, TakesItsNameFromItsProviderWhenTheComponentHasNone) {
  component.name = nullptr;
  const GroupPtr group = create();
  EXPECT_EQ(group->component_id, 3);
  EXPECT_EQ(group->read_callback, &read_or_stop);
  EXPECT_TRUE(tly_stop_counting_group(group.get()));
  EXPECT_EQ(serialized(tly_counter_group_jsonify(group.get())),
            R"({"granularity":"NODE","name":"vintor","provider":"vintor","num_counter_sets":0,)"
            R"("num_counters":0,"counters":[]})");
  group->provider = nullptr;
  EXPECT_FALSE(tly_stop_counting_group(group.get()));
  group->provider = &provider;
}

TEST_F(ProvidedGroup, CountsOnlyCountersThatTheProviderAcceptedOneByOne) {
  const LogCapture log;
  const GroupPtr group = create();
  const CounterPtr counter = make_counter("n", TLY_DATA_TYPE_UINT64);
  uint32_t count = 0;
  // An answer of true that counts 0, 2 or -1 more is the provider's fault; so is a refusal that
  // counts.
  for (const auto& [answer, difference] : {std::pair(true, 0U),
                                           {true, 1},
                                           {false, 0},
                                           {false, 1},
                                           {true, 0},
                                           {true, 2},
                                           {true, ~0U},
                                           {true, 1}}) {
    accepts = answer;
    raises_by = difference;
    const bool added = accepts && raises_by == 1;
    EXPECT_EQ(tly_add_counter_to_group(group.get(), counter.get()), added);
    EXPECT_EQ(group->num_counters, count += added);
  }
  const std::string prefix =
      "[tly_add_counter_to_group] Provider vintor accepted a counter but counts ";
  EXPECT_THAT(
      log.texts(3),
      testing::ElementsAre(prefix + "0 counters instead of 1", prefix + "1 counters instead of 2",
                           prefix + "3 counters instead of 2", prefix + "0 counters instead of 2"));
  EXPECT_STREQ(group->counters[1]->name, "n");
}

TEST(DecodedGroup, CountsItsDecodedCountersAndEncodesAgain) {
  const std::string a = serialized(tly_counter_info_jsonify(make_counter("a", 1).get()));
  const std::string b = serialized(tly_counter_info_jsonify(make_counter("b", 2, 8).get()));
  const auto group_json = [&](const std::string& sets, const std::string& count) {
    return R"({"granularity":"CPU","name":"g","provider":"p","num_counter_sets":)" + sets +
           R"(,"num_counters":)" + count + R"(,"counters":[)" + a + "," + b + "]}";
  };
  for (const auto& [given, kept] : {std::pair("-1", "0"), {"2.9", "2"}, {"1e12", "4294967295"}}) {
    const GroupPtr group(tly_counter_group_from_json(parse(group_json(given, "5")).get()));
    EXPECT_EQ(serialized(tly_counter_group_jsonify(group.get())), group_json(kept, "2"));
  }
}

}  // namespace
}  // namespace tly::test
