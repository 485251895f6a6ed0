// Remote providers against a scripted client. The mediator is one for the process and takes each
// name once, so each test runs in a process of its own.
#include <gmock/gmock.h>

#include "log_capture.h"
#include "records.h"
#include "remote_side.h"
#include "scripted_client/recorded_calls.h"
#include "tallyra/logging.h"
#include "tallyra/rpe_mediator.h"

// Earlier than the library's own initialisers.
__attribute__((constructor(150))) static void set_environment() {
  setenv("QPX_CLIENT_SO", SCRIPTED_CLIENT, 1);
}

namespace tly::test {
namespace {

using testing::ElementsAre;

constexpr const char* kCounters = COUNTERS(GROUP("g0", COUNTER "," COUNTER) "," GROUP(
    "none", "") "," GROUP("g1", COUNTER) "," GROUP("g2", COUNTER_OF("STRING", "5")));
constexpr const char* kEvents = EVENTS(
    SCHEMA(TYPE("int", "4") "," TYPE("uint8_t", "1") "," TYPE("uint8_t", "9223372036854775808")));
constexpr const char* kTwoSchemas = EVENTS(SCHEMA(TYPE("int", "4")) "," SCHEMA(TYPE("int", "4")));

std::string record(char type, const std::string& events, std::size_t count) {
  return "???E????????" + std::string{9, type, 9, static_cast<char>(count)} + events;
}

// The records written, as "slot/type:events ".
std::string records_of(const tly_data_serializer_t& serializer) {
  std::string records;
  for (uint64_t at = 0; at < serializer.used;) {
    const uint8_t* const header = serializer.buffer + at;
    const std::string events(header + 16, header + 16 + header[15] * (header[13] == 0 ? 4 : 1));
    records += std::to_string(header[12]) + "/" + std::to_string(header[13]) + ":" + events + " ";
    at += 16 + events.size();
  }
  return records;
}

// The mediator's own messages as lines of "level text", without its prefix.
std::string messages_of(const LogCapture& log) {
  const std::string prefix = "[RPE mediator provider] ";
  std::string messages;
  for (const LogLine& line : log.lines()) {
    if (line.text.starts_with(prefix)) {
      messages += std::to_string(line.level) + " " + line.text.substr(prefix.size()) + "\n";
    }
  }
  return messages;
}

class MediatedProvider : public testing::Test {
 protected:
  MediatedProvider() {
    follow(SCRIPTED_CLIENT, kRemoteSide);
    remote.options = &options_;
    remote.custom_options = custom_.get();
  }

  void offer(const std::string& names) {
    tly_dict_add(custom_.get(), "enable-provider", names.c_str());
  }
  tly_provider_t* counters() { return rpe_mediator_construct_counter_provider(&options_); }
  tly_event_provider_t* events() { return rpe_mediator_construct_event_provider(custom_.get()); }

  Owned<tly_dict_t, &tly_dict_delete> custom_{tly_dict_create()};
  tly_options_t options_{nullptr, nullptr, custom_.get()};
  RecordedCalls calls_;
};

TEST(RemoteCommands, ArePassedThroughAsTheyAre) {
  const RecordedCalls calls;
  const LogCapture log;
  char* output = nullptr;
  uint64_t length = 99;
  ASSERT_TRUE(rpe_mediator_run_command("echo a; echo b >&2", true, 30, &output, &length));
  EXPECT_STREQ(OwnedString(output).get(), "a\nb\n");
  EXPECT_EQ(length, 4u);
  EXPECT_TRUE(rpe_mediator_run_command("true", false, 0xFFFFFFFF, nullptr, nullptr));
  EXPECT_FALSE(rpe_mediator_run_command("false", true, 0, nullptr, &length));
  const ScopedEnv mode("SCRIPTED_CLIENT_RUN_COMMAND", "throw");
  EXPECT_FALSE(rpe_mediator_run_command("-", true, 1, &output, nullptr));
  EXPECT_THAT(log.lines(), testing::IsEmpty());
  const std::string call = "run_command ctx=given ";
  EXPECT_THAT(
      calls.lines(),
      ElementsAre(
          call + "flag=1 time_limit=30 output=given length=given command=echo a; echo b >&2",
          call + "flag=0 time_limit=4294967295 output=null length=null command=true",
          call + "flag=1 time_limit=0 output=null length=given command=false",
          call + "flag=1 time_limit=1 output=given length=null command=-"));
}

TEST_F(MediatedProvider, IsTheNextOneThatCanBeLoaded) {
  for (uint32_t id = 1; const char* name : {"alpha", " late", "foo.bar", "foo.baz", "fo.bar"}) {
    remote.counters[name] = {id++, kCounters};
  }
  remote.events["ev"] = {9, kEvents};
  offer(
      "local,grpc.alpha,grpc.alpha.x,grpc.bad,grpc.bad,grpc.ev,grpc.,grpc. late,grpc.foo.bar,"
      "grpc.foo.baz,grpc.fo.bar,grpc.foo,grpc.foo.bar");
  const LogCapture log;
  std::vector<std::string> results;
  for (const char kind : std::string("CCCEECEEECCCCCCE")) {
    const tly_provider_t* const counter_provider = kind == 'C' ? counters() : nullptr;
    const tly_event_provider_t* const event_provider = kind == 'E' ? events() : nullptr;
    results.emplace_back(counter_provider ? counter_provider->name
                         : event_provider ? event_provider->name
                                          : "");
  }
  EXPECT_THAT(results, ElementsAre("alpha", "", "", "", "", "", "ev", "", "", " late", "foo.bar",
                                   "foo.baz", "fo.bar", "", "", ""));
  EXPECT_EQ(
      messages_of(log),
      "7 already loaded alpha, will skip alpha.x\n"
      "7 [bad] failed starting remote counters provider\n"
      "7 could not load provider bad\n"
      "7 [bad] failed starting remote events provider\n"
      "7 could not load provider bad\n"
      "7 [getNextEventProvider] skipping provider bad (failed for both counters and events)\n"
      "7 [bad] failed starting remote events provider\n"
      "7 could not load provider bad\n"
      "7 [getNextCounterProvider] skipping provider bad (failed for both counters and events)\n"
      "7 [ev] failed starting remote counters provider\n"
      "7 could not load provider ev\n"
      "7 [ late] failed starting remote events provider\n"
      "7 could not load provider  late\n"
      "7 already loaded foo.bar, will skip foo\n"
      "7 already loaded foo.bar, will skip foo.bar\n"
      "7 could not load provider #12\n");
  EXPECT_EQ(rpe_mediator_construct_counter_provider(nullptr), nullptr);
  EXPECT_EQ(log.count(3, "[find_ith_substr] invalid input"), 1u);
}

TEST_F(MediatedProvider, WithoutReadableComponentsIsRefused) {
  const std::string unreadable = "could not deserialize counter type system";
  const struct {
    const char* type_system;
    std::string reason;
    bool is_described = false;
  } cases[] = {
      {nullptr, unreadable},
      {"{", unreadable},
      {COUNTERS(""), "0 components (x)", true},
      {kEvents, "0 components ((null))"},
      {COUNTERS(GROUP("g", COUNTER_OF("STRING", "0"))),
       "counters that cannot be laid out ((null))"},
      {COUNTERS(GROUP("g", COUNTER_OF("FP64", "9"))), "counters that cannot be laid out ((null))"},
      {COUNTERS(GROUP("g", COUNTER_OF("STRING", "4294967288") "," COUNTER)),
       "counters that cannot be laid out (x)", true},
  };
  offer("grpc.x");
  for (const auto& [type_system, reason, is_described] : cases) {
    remote.counters["x"] = {1, type_system, is_described};
    const LogCapture log;
    EXPECT_EQ(counters(), nullptr);
    EXPECT_EQ(messages_of(log), "3 [parseComponentsFromTypeSystem] " + reason +
                                    "\n3 [setCountersProvider] could not set counter type system\n"
                                    "3 [ProviderHandler] could not setup counters provider\n"
                                    "7 could not load provider x\n");
  }
}

TEST_F(MediatedProvider, GivesWayToOneOfTheSameRemoteId) {
  remote.counters["first"] = {7, kCounters};
  remote.events["second"] = {7, kEvents};
  offer("grpc.first,grpc.second,grpc.second,grpc.throws");
  ASSERT_NE(counters(), nullptr);
  for (const int32_t status : {5, -1}) {
    remote.status = status == 5 ? status : 0;
    tly_event_provider_t* const second = events();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->id, 107u);
    EXPECT_EQ(second->event_provider_stop(second), status);
  }
  EXPECT_EQ(counters(), nullptr);
  EXPECT_EQ(events(), nullptr);
  EXPECT_THAT(
      calls_.lines(),
      ElementsAre("create_counters ctx=given name=first", "create_events ctx=given name=second",
                  "terminate ctx=given remote_id=7", "create_events ctx=given name=second",
                  "terminate ctx=given remote_id=7", "create_counters ctx=given name=throws",
                  "create_events ctx=given name=throws"));
}

// A group for each component, each counter 8 bytes further on in the area than in the remote
// buffer.
std::vector<GroupPtr> groups_of(tly_provider_t* provider) {
  std::vector<GroupPtr> groups;
  for (int id = 0; id < provider->num_components; ++id) {
    const tly_component_t& component = *provider->components[id];
    EXPECT_TRUE(component.id == id && component.enabled && component.granularity == 1);
    const GroupPtr& group = groups.emplace_back(tly_create_counter_group(provider, &component));
    EXPECT_TRUE(group->granularity == 0 && group->num_counter_sets == 1);
    for (int i = 0; i < component.num_counters; ++i) {
      EXPECT_TRUE(component.counters[i]->mandatory);
      tly_add_counter_to_group(group.get(), component.counters[i]);
      group->counters[i]->offset += 8;
    }
  }
  return groups;
}

// Whether a read succeeds and, by one letter each, the values that are in the area then.
std::pair<bool, std::string> read(tly_counter_group_t* group) {
  std::string area(40, '_'), values;
  const bool is_read =
      group->read_callback(group, reinterpret_cast<tly_counter_value_t*>(area.data()));
  for (std::size_t at = 0; at < area.size(); at += 8) {
    values += area[at + 4];
  }
  EXPECT_EQ(area.back(), '_');  // after the text of the last counter
  return {is_read, values};
}

TEST_F(MediatedProvider, ReadsItsGroupsFromOneBufferPerCycle) {
  remote.counters["pr"] = {7, kCounters};
  offer("grpc.pr");
  tly_provider_t* const provider = counters();
  ASSERT_NE(provider, nullptr);
  EXPECT_EQ(provider->id, 0);
  EXPECT_STREQ(provider->description, "about");
  std::vector<GroupPtr> groups = groups_of(provider);
  ASSERT_EQ(groups.size(), 4u);
  const Delivery whole{Delivery::kData, "header..header..AAAAAAAABBBBBBBBCCCCCCCCDDDDDDDD"};
  const Delivery cut{Delivery::kData, whole.bytes.substr(0, 36)};
  const auto skips = [](const std::string& name) {
    return "4 will skip component " + name + " since buffer returned from remote " + name +
           " plugin is NULL\n";
  };
  const auto not_read = [](const std::string& name, const std::string& reason) {
    return "3 [prepareCountersBuffersMemcpy] " + reason +
           "\n3 failed to calculate buffer offset. will not read group " + name + "\n";
  };
  const auto too_short = [&](const std::string& name, const char* needed, const char* left) {
    return not_read(name, "the required buffer to copy " + name + " is bigger than the buffer " +
                              "from remote(need to copy " + needed + "B, only " + left + "B left)");
  };
  const std::string failed = "3 [onReadCounterGroup] could not complete 'progress' call to pr\n";
  const std::string null = "3 buffer returned from remote g0 plugin is NULL\n";
  const struct {
    std::size_t group;
    Delivery delivery;
    bool result;
    std::string values, messages;
    const char* name = nullptr;  // a new one for the group
  } reads[] = {
      {2, {}, false, "_____", skips("g1")},
      {0, whole, true, "_AB__", ""},
      {1, {}, true, "_____", "7 empty counter group\n"},
      {2, {}, true, "___C_", ""},
      {0, {}, true, "_AB__", ""},  // the cycle was not ended
      {3, {}, true, "____D", ""},
      {0, {Delivery::kZero}, true, "_____", "7 0 bytes received from remote g0 plugin\n"},
      {3, {}, false, "_____", skips("g2")},
      {0, {Delivery::kFail}, false, "_____", failed},
      {0, {Delivery::kThrow}, false, "_____", failed},
      {0, {Delivery::kNull}, false, "_____", null},
      {0, cut, true, "_AB__", ""},
      {2, {}, false, "_____", too_short("g1", "8", "4")},
      {3, {}, false, "_____", too_short("g2", "5", "0")},
      {2, {}, false, "_____", skips("g1")},
      {0, whole, false, "_____", not_read("x", "failed to find x buffer offset"), "x"},
      {3, {}, false, "_____", not_read("none", "failed to find none buffer offset"), "none"},
      {2, {}, false, "_____", skips("g1")},
  };
  for (const auto& [index, delivery, result, values, messages, name] : reads) {
    tly_counter_group_t* const group = groups[index].get();
    if (name != nullptr) {
      free(std::exchange(group->name, strdup(name)));
    }
    remote.next = delivery;
    const LogCapture log;
    EXPECT_EQ(read(group), std::pair(result, values));
    EXPECT_EQ(messages_of(log), messages);
  }
  groups.clear();
  provider->provider_finalize(provider);
  EXPECT_EQ(calls_.lines().back(), "terminate ctx=given remote_id=7");
  EXPECT_THAT(calls_.lines(), testing::Contains("progress ctx=given remote_id=7 source=0"));
}

// An agent's type system with so many schemas.
TypeSystemPtr make_agent(int schemas) {
  TypeSystemPtr agent(tly_create_type_system());
  while (agent->num_schemas < schemas) {
    tly_type_system_add_schema(agent.get(), "agent", 1, nullptr);
  }
  return agent;
}

TEST_F(MediatedProvider, AddsItsSchemasOrLeavesTheAgentsTypeSystemWhole) {
  const struct {
    const char* type_system;
    int held_before, held_after;
  } cases[] = {{nullptr, 1, 1},
               {EVENTS(SCHEMA(TYPE("gone", "4"))), 1, 1},
               {kTwoSchemas, 254, 255},
               {kTwoSchemas, 1, 3}};
  offer("grpc.ev,grpc.ev,grpc.ev,grpc.ev");
  for (const auto& c : cases) {
    remote.events["ev"] = {7, c.type_system};
    tly_event_provider_t* const provider = events();
    ASSERT_NE(provider, nullptr);
    EXPECT_STREQ(provider->description, "about");
    const TypeSystemPtr agent = make_agent(c.held_before);
    const LogCapture log;
    EXPECT_EQ(provider->event_provider_initialize(provider, agent.get()), c.held_after == 3);
    EXPECT_FALSE(provider->event_provider_initialize(provider, agent.get()));
    EXPECT_EQ(agent->num_schemas, c.held_after);
    EXPECT_EQ(log.count(3, "[RPE mediator provider] [onEventInitialize] cannot add schemas (ev)"),
              c.held_after == 3 ? 1u : 2u);
    remote.next = {Delivery::kData, record(0, "aaaa", 1)};
    uint8_t area[20];
    tly_data_serializer_t serializer{agent.get(), area, sizeof area, 0};
    const bool is_written = provider->event_provider_progress(provider, 0, &serializer) == 0;
    EXPECT_EQ(is_written, c.held_after == 3);
    EXPECT_EQ(records_of(serializer), is_written ? "2/0:aaaa " : "");  // of the last one added
    const auto finalize = provider->event_provider_finalize;
    provider->event_provider_stop(provider);
    finalize(nullptr);
  }
}

TEST_F(MediatedProvider, HasEventSourcesOnceAndTheirConfigurationUntilTheStart) {
  remote.events["ev"] = {7, kEvents};
  remote.events["bare"] = {8, EVENTS(""), false};
  offer("grpc.ev,grpc.bare");
  tly_event_provider_t* const provider = events();
  tly_event_provider_t* const bare = events();
  tly_event_provider_config_t config{1, 1, 1, 1};
  EXPECT_FALSE(bare->event_provider_get_source_config(bare, 0, &config));
  EXPECT_EQ(config.value_32, 1u);
  EXPECT_TRUE(provider->event_provider_get_source_config(provider, 7, &config));
  const auto& [value_64, value_32, value_8a, value_8b] = kConfig;
  EXPECT_EQ(std::tie(config.value_64, config.value_32, config.value_8a, config.value_8b),
            std::tie(value_64, value_32, value_8a, value_8b));
  tly_source_array_t* const sources = provider->event_provider_get_sources(provider);
  EXPECT_NE(sources, nullptr);
  tly_destroy_source_array(sources);
  EXPECT_EQ(provider->event_provider_get_sources(provider), nullptr);
  EXPECT_TRUE(provider->event_provider_start(provider));
  EXPECT_EQ(provider->event_provider_get_sources(provider), nullptr);
  EXPECT_FALSE(provider->event_provider_get_source_config(provider, 7, &config));
}

Delivery data(const std::string& bytes) { return {Delivery::kData, bytes}; }

TEST_F(MediatedProvider, CopiesEventsAsFarAsTheyCanBeTrusted) {
  remote.events["ev"] = {7, kEvents};
  offer("grpc.ev");
  tly_event_provider_t* const provider = events();
  const TypeSystemPtr agent = make_agent(1);
  ASSERT_TRUE(provider->event_provider_initialize(provider, agent.get()));
  ASSERT_TRUE(provider->event_provider_start(provider));
  const std::string two = record(0, "aaaabbbbcccc", 3) + record(1, "xy", 2);
  const std::string both = "1/0:aaaabbbbcccc 1/1:xy ";
  const std::string failed = "3 [onEventProgress] could not complete 'progress' call\n";
  const std::string null = "3 [onEventProgress] buffer returned from remote ev plugin is NULL\n";
  const std::string copy = "3 [copyEvents] ";
  const std::string short_header = copy + "header of 15 bytes only (ev)\n";
  const auto too_many = [copy](const std::string& announced, const char* left) {
    return copy + announced + " exceed the buffer from remote (ev), only " + left + "B left\n";
  };
  constexpr uint64_t kNoTypes = 1;  // a capacity, for a serializer without type system
  const struct {
    Delivery delivery;
    uint64_t capacity;
    int32_t result;
    std::string records, messages;
  } steps[] = {
      {data(two), 100, 0, both, ""},
      {data(two), 24, 1, "1/0:aaaabbbb ", ""},
      {{}, 16, 1, "", ""},
      {{}, 100, 0, "1/0:cccc 1/1:xy ", ""},
      {{Delivery::kZero}, 100, 0, "", "7 0 bytes received (ev)\n"},
      {{Delivery::kFail}, 100, -1, "", failed},
      {{Delivery::kThrow}, 100, -1, "", failed},
      {{Delivery::kNull}, 100, -1, "", null},
      {data(two + "TLYF" + two), 100, 0, both, ""},
      {data(two + "TLYF"), 100, 0, both, ""},
      {data("TLY"), 100, -1, "", copy + "header of 3 bytes only (ev)\n"},
      {data(two + two.substr(0, 15)), 100, -1, both, short_header},
      {data(record(7, "", 0) + two), 100, 0, both, ""},
      {data(record(3, "aaaa", 1)), 100, -1, "",
       copy + "the type system has no event type 3 of ev\n"},
      {data(record(2, "aaaa", 2)), 100, -1, "",
       too_many("2 events of 9223372036854775808 bytes", "4")},
      {data(record(0, "aaaabbbbccc", 3)), 100, -1, "", too_many("3 events of 4 bytes", "11")},
      {data(record(1, "", 255)), 100, -1, "", too_many("255 events of 1 bytes", "0")},
      {data(two), 24, 1, "1/0:aaaabbbb ", ""},
      {{}, kNoTypes, -1, "", copy + "incomplete type (tly_data_serializer_t)\n"},
      {data(two), 100, 0, both, ""},  // begins with a header again
  };
  for (const auto& step : steps) {
    remote.next = step.delivery;
    std::vector<uint8_t> area(step.capacity);
    tly_data_serializer_t serializer{step.capacity == kNoTypes ? nullptr : agent.get(), area.data(),
                                     step.capacity, 0};
    const LogCapture log;
    EXPECT_EQ(provider->event_provider_progress(provider, 3, &serializer), step.result);
    EXPECT_EQ(records_of(serializer), step.records);
    EXPECT_EQ(messages_of(log), step.messages);
  }
  EXPECT_EQ(calls_.lines().back(), "progress ctx=given remote_id=7 source=3");
}

TEST_F(MediatedProvider, CopiesNoEventsWithoutASchemaOfItsOwn) {
  remote.events["bare"] = {8, EVENTS(""), false};
  offer("grpc.bare");
  tly_event_provider_t* const bare = events();
  ASSERT_TRUE(bare->event_provider_initialize(bare, make_agent(1).get()));
  const TypeSystemPtr of_another(tly_type_system_deserialize(kEvents));
  tly_data_serializer_t serializer{of_another.get(), nullptr, 0, 0};
  tly_data_serializer_t* const none = nullptr;
  const LogCapture log;
  for (tly_data_serializer_t* const given : {&serializer, none}) {
    remote.next = data(record(0, "aaaa", 1));
    EXPECT_EQ(bare->event_provider_progress(bare, 0, given), -1);
  }
  EXPECT_EQ(messages_of(log),
            "3 [copyEvents] the type system has no event type 0 of (null)\n"
            "3 [copyEvents] incomplete type (tly_data_serializer_t)\n");
}

}  // namespace
}  // namespace tly::test
