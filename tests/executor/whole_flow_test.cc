// An agent's whole use of remote providers, against the libraries as they are built.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <map>
#include <thread>
#include <vector>

#include "environment.h"
#include "sanitizers.h"
#include "tallyra/counters_schema.h"
#include "tallyra/dictionary.h"
#include "tallyra/parson.h"
#include "tallyra/rpe_mediator.h"

// A function of the plug-in library.
#define PLUGIN(name) reinterpret_cast<decltype(&name)>(dlsym(plugin_, #name))

namespace {

using tly::test::read_file;
using tly::test::ScopedEnv;
using Values = std::map<std::string, uint64_t>;

// A choice of the counters, read by other means.
Values kernel_values() {
  Values values;
  std::string word;
  for (std::ifstream stat("/proc/stat"); stat >> word;) {
    if (word == "cpu") {
      stat >> values["cpu:user_ms"];
      values["cpu:user_ms"] *= 1000 / static_cast<uint64_t>(sysconf(_SC_CLK_TCK));
    } else if (word == "ctxt" || word == "processes") {
      stat >> values[word == "ctxt" ? "cpu:context_switches" : "cpu:processes_created"];
    }
  }
  std::ifstream network("/proc/net/dev");
  std::getline(network, word);
  std::getline(network, word);
  for (uint64_t columns[16]; network >> word;) {
    for (uint64_t& column : columns) {
      network >> column;
    }
    values["network:receive_bytes"] += word == "lo:" ? 0 : columns[0];
    values["network:transmit_packets"] += word == "lo:" ? 0 : columns[9];
  }
  return values;
}

constexpr uint64_t kClockStepUs = 20000;

uint64_t now_us() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

// A process that sleeps until the end of its scope.
struct Sleeper {
  Sleeper() {
    char* arguments[] = {const_cast<char*>("sleep"), const_cast<char*>("99"), nullptr};
    if (posix_spawnp(&pid, "sleep", nullptr, nullptr, arguments, environ) != 0) {
      pid = 0;
    }
    // Under an emulator the child has yet to become the program.
    const std::string name_file = "/proc/" + std::to_string(pid) + "/comm";
    for (int i = 0; i < 2000 && read_file(name_file) != "sleep\n"; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
  ~Sleeper() {
    if (pid > 0) {
      kill(pid, SIGKILL);
      waitpid(pid, nullptr, 0);
    }
  }
  Sleeper(const Sleeper&) = delete;
  Sleeper& operator=(const Sleeper&) = delete;

  pid_t pid = 0;
};

bool is_mapped(const char* library) {
  return read_file("/proc/self/maps").find(library) != std::string::npos;
}

class WholeFlow : public testing::Test {
 protected:
  ~WholeFlow() override {
    if (plugin_ != nullptr) {
      PLUGIN(tly_dict_delete)(dictionary_);
      EXPECT_EQ(dlclose(plugin_), 0);
    }
    EXPECT_TRUE(tly::test::kLibrariesStayLoaded ||
                !(is_mapped("libvintor_provider.so") || is_mapped("libqpx_client.so")));
  }

  void SetUp() override {
    if (tly::test::kThreadIsSanitized) {
      // The sanitizer runs exit handlers when the process ends, also those of unloaded libraries.
      dlopen(QPX_CLIENT_LIBRARY, RTLD_NOW | RTLD_NODELETE);
      dlopen(VINTOR_PROVIDER_LIBRARY, RTLD_NOW | RTLD_NODELETE);
    }
    ASSERT_NE(plugin_, nullptr) << dlerror();
    dictionary_ = PLUGIN(tly_dict_create)();
    PLUGIN(tly_dict_add)(dictionary_, "enable-provider", "grpc.host,grpc.process");
    const tly_options_t options{nullptr, nullptr, dictionary_};
    host_ = PLUGIN(rpe_mediator_construct_counter_provider)(&options);
    EXPECT_EQ(PLUGIN(rpe_mediator_construct_counter_provider)(&options), nullptr);
    process_ = PLUGIN(rpe_mediator_construct_event_provider)(dictionary_);
    EXPECT_EQ(PLUGIN(rpe_mediator_construct_counter_provider)(&options), nullptr);
    ASSERT_TRUE(host_ != nullptr && process_ != nullptr);
  }

  // A schema that holds a group for each component, laid out and started.
  tly_counters_schema_t* start_groups() {
    tly_counters_schema_t* const schema = PLUGIN(tly_create_counters_schema)();
    for (uint16_t i = 0; i < host_->num_components; ++i) {
      const tly_component_t* const component = host_->components[i];
      tly_counter_group_t* const group = PLUGIN(tly_create_counter_group)(host_, component);
      for (int32_t k = 0; k < component->num_counters; ++k) {
        EXPECT_TRUE(PLUGIN(tly_add_counter_to_group)(group, component->counters[k]));
      }
      PLUGIN(tly_counters_schema_append_group)(schema, group);
    }
    PLUGIN(tly_counters_schema_update_counter_offsets)(schema);
    for (uint32_t i = 0; i < schema->num_groups; ++i) {
      EXPECT_TRUE(PLUGIN(tly_start_counting_group)(schema->groups[i]));
    }
    return schema;
  }

  Values read_groups(const tly_counters_schema_t* schema) {
    Values result;
    std::vector<tly_counter_value_t> area(PLUGIN(tly_counters_schema_number_of_counters)(schema));
    for (uint32_t i = 0; i < schema->num_groups; ++i) {
      tly_counter_group_t* const group = schema->groups[i];
      EXPECT_TRUE(host_->counter_group_read(group, area.data()));
      for (uint32_t k = 0; k < group->num_counters; ++k) {
        result[group->counters[k]->name] = area[group->counters[k]->offset / sizeof area[0]].u64;
      }
    }
    return result;
  }

  void expect_values_of_the_kernel(const tly_counters_schema_t* schema) {
    const Values before = kernel_values();
    const Values read = read_groups(schema);
    const Values after = kernel_values();
    for (const auto& [name, value] : before) {
      ASSERT_TRUE(value <= read.at(name) && read.at(name) <= after.at(name)) << name;
    }
    ASSERT_GT(read.at("cpu:context_switches"), 0U);
  }

  void start_events(tly_type_system_t* type_system) {
    ASSERT_TRUE(process_->event_provider_initialize(process_, type_system));
    tly_source_array_t* const sources = process_->event_provider_get_sources(process_);
    ASSERT_TRUE(sources != nullptr && sources->count == 1);
    EXPECT_STREQ(sources->sources[0]->tag, "process");
    PLUGIN(tly_destroy_source_array)(sources);
    tly_event_provider_config_t config{};
    EXPECT_TRUE(process_->event_provider_get_source_config(process_, 0, &config));
    EXPECT_EQ(config.value_64, 1'000'000'000U);
    ASSERT_TRUE(process_->event_provider_start(process_));
  }

  // The events there are, as JSON texts, taken through a serializer with room for one.
  std::string take_events(tly_type_system_t* type_system, int& pending) {
    std::string events;
    const tly_type_definition_t* const type = type_system->schemas[0]->types[0];
    std::vector<uint8_t> room(TLY_EVENTS_HEADER_SIZE + type->size);
    for (int32_t status = TLY_PROGRESS_PENDING; status == TLY_PROGRESS_PENDING;) {
      tly_data_serializer_t serializer{type_system, room.data(), room.size(), 0};
      status = process_->event_provider_progress(process_, 0, &serializer);
      EXPECT_NE(status, TLY_PROGRESS_FAILED);
      pending += status == TLY_PROGRESS_PENDING;
      if (serializer.used == 0) {
        continue;
      }
      uint64_t time_us = 0;
      std::memcpy(&time_us, room.data() + TLY_EVENTS_HEADER_SIZE, sizeof time_us);
      EXPECT_TRUE(time_us >= start_us_ - kClockStepUs && time_us <= now_us() + kClockStepUs);
      JSON_Value* const event =
          PLUGIN(tly_type_definition_jsonify_data)(type, room.data() + TLY_EVENTS_HEADER_SIZE);
      char* const text = PLUGIN(json_serialize_to_string)(event);
      events += std::string(text) + "\n";
      PLUGIN(json_free_serialized_string)(text);
      PLUGIN(json_value_free)(event);
    }
    return events;
  }

  const uint64_t start_us_ = now_us();
  ScopedEnv client_{"QPX_CLIENT_SO", QPX_CLIENT_LIBRARY};
  void* plugin_ = dlopen(VINTOR_PROVIDER_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  tly_dict_t* dictionary_ = nullptr;
  tly_provider_t* host_ = nullptr;
  tly_event_provider_t* process_ = nullptr;
};

TEST_F(WholeFlow, ReadsCountersAndEventsUntilUnload) {
  tly_counters_schema_t* const schema = start_groups();
  for (int cycle = 0; cycle < 100; ++cycle) {
    ASSERT_NO_FATAL_FAILURE(expect_values_of_the_kernel(schema));
  }
  for (uint32_t i = 0; i < schema->num_groups; ++i) {
    EXPECT_TRUE(PLUGIN(tly_stop_counting_group)(schema->groups[i]));
  }

  tly_type_system_t* const type_system = PLUGIN(tly_create_type_system)();
  ASSERT_NO_FATAL_FAILURE(start_events(type_system));
  int pending = 0;
  std::vector<pid_t> children;
  std::string starts;
  {
    const Sleeper sleepers[3];
    for (const Sleeper& sleeper : sleepers) {
      children.push_back(sleeper.pid);
    }
    starts = take_events(type_system, pending);
  }
  const std::string ends = take_events(type_system, pending);
  EXPECT_GE(pending, 4);
  for (const pid_t child : children) {
    const std::string ids = "\"pid\":" + std::to_string(child) +
                            ",\"parent_pid\":" + std::to_string(getpid()) + ",\"kind\":\"";
    EXPECT_NE(starts.find(ids + "start\",\"command\":\"sleep\"}"), std::string::npos) << starts;
    EXPECT_NE(ends.find(ids + "end\",\"command\":\"sleep\"}"), std::string::npos) << ends;
  }

  EXPECT_EQ(process_->event_provider_stop(process_), 0);
  PLUGIN(tly_destroy_type_system)(type_system);
  PLUGIN(tly_destroy_counters_schema)(schema);
  host_->provider_finalize(host_);
}

}  // namespace
