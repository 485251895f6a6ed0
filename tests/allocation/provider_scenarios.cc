// Sources, remote providers against a scripted client, and the provider of the external tool.
#include <chrono>
#include <optional>
#include <thread>

#include "../mediator/remote_side.h"
#include "environment.h"
#include "mediator/grpc_handler.h"
#include "records.h"
#include "scenario.h"
#include "tallyra/qpx_client.h"
#include "tallyra/rpe_mediator.h"
#include "tallyra/vintor_provider.h"
#include "tool_shim.h"
#include "vintor/collector.h"

extern "C" {
void* qpx_client_init();
void qpx_client_destroy(void* ctx);
std::remove_pointer_t<qpx_client_event_provider_create_t> qpx_client_event_provider_create;
std::remove_pointer_t<qpx_client_counter_provider_create_t> qpx_client_counter_provider_create;
std::remove_pointer_t<qpx_client_event_provider_progress_t> qpx_client_event_provider_progress;
std::remove_pointer_t<qpx_client_event_provider_terminate_t> qpx_client_event_provider_terminate;
std::remove_pointer_t<qpx_client_run_command_t> qpx_client_run_command;
}

// Earlier than the library's own initialisers.
__attribute__((constructor(150))) static void set_environment() {
  setenv("QPX_CLIENT_SO", SCRIPTED_CLIENT, 1);
  setenv("TLY_VINTOR_SAMPLE_INTERVAL_NSEC", "0", 1);
}

namespace tly::test {
namespace {

using SourceArray = Owned<tly_source_array_t, &tly_destroy_source_array>;

std::string joined(const SourceArray& sources) {
  std::string text;
  for (int i = 0; i < sources->count; ++i) {
    text += sources->sources[i]->id + std::string("|");
  }
  return text;
}

SCENARIO(Sources) {
  static const TemporaryDirectory directory;
  static const std::string path = directory.write("lines", "a\nb");
  const SourceArray array(pass.whole([] { return tly_create_source_array(); }));
  for (const bool is_default : {false, true}) {
    Owned<tly_source_t, &tly_destroy_source> source(pass.whole([=] {
      return is_default ? tly_create_default_source("t") : tly_create_source("id", "t");
    }));
    pass.make<&std::free>([&] { return source ? tly_source_string(source.get()) : strdup(""); });
    const int held = array ? array->count : 0;
    const bool is_appended = array && source && pass.whole([&] {
      return tly_source_array_append(array.get(), source.get());
    });
    EXPECT_EQ(array ? array->count : 0, held + (is_appended ? 1 : 0));
    if (is_appended) {
      static_cast<void>(source.release());
    }
  }
  pass.make<&tly_destroy_source_array>([] { return tly_create_default_source_array("t"); });
  pass.make<&tly_destroy_source_array>([] { return tly_create_source_array_from_string("2"); });
  pass.make<&tly_destroy_source_array>([] { return tly_create_source_array_from_input("p[1-2]"); });
  // A stream may do without its buffer.
  const SourceArray lines(
      pass.may([] { return tly_create_source_array_from_input(path.c_str()); }));
  EXPECT_TRUE(!lines || joined(lines) == "a|b|");
}

// The remote side. Each provider that is constructed takes the next of many equal names.
constexpr char kCounters[] = "counters with a long name";
constexpr char kEvents[] = "events with a long name";

class Remote {
 public:
  explicit Remote(const std::string& name) {
    follow(SCRIPTED_CLIENT, kRemoteSide);
    remote.options = &options_;
    remote.custom_options = custom_.get();
    std::string names;
    for (int i = 0; i < 5000; ++i) {
      names += "grpc." + name + ",";
    }
    tly_dict_add(custom_.get(), "enable-provider", names.c_str());
    // Nobody offers the name yet; that it failed once is kept for good.
    remote.counters.clear();
    remote.events.clear();
    EXPECT_EQ(name == kCounters ? static_cast<void*>(counters()) : events(), nullptr);
    remote.counters[kCounters] = {1, COUNTERS(GROUP("g", COUNTER))};
    remote.events[kEvents] = {2, EVENTS(SCHEMA(TYPE("int", "4")))};
  }
  tly_provider_t* counters() { return rpe_mediator_construct_counter_provider(&options_); }
  tly_event_provider_t* events() { return rpe_mediator_construct_event_provider(custom_.get()); }

 private:
  Owned<tly_dict_t, &tly_dict_delete> custom_{tly_dict_create()};
  tly_options_t options_{nullptr, nullptr, custom_.get()};
};

// What a failed allocation ended leaves the mediator as it was: the same name is then constructed.
template <typename Construct>
auto* construct(Pass& pass, Construct construct_next) {
  auto* const constructed = pass.may(construct_next);
  auto* const provider = constructed != nullptr ? constructed : construct_next();
  EXPECT_NE(provider, nullptr);
  return provider;
}

SCENARIO(RemoteCounters) {
  static Remote side(kCounters);
  remote.next = {Delivery::kData, std::string(24, 'v')};
  tly_provider_t* const provider = construct(pass, [] { return side.counters(); });
  pass.whole([=] { return provider->provider_initialize(provider, nullptr); });
  const tly_component_t* const component = provider->components[0];
  if (const GroupPtr group(pass.may([=] { return tly_create_counter_group(provider, component); }));
      group) {
    const bool has_counter =
        pass.whole([&] { return tly_add_counter_to_group(group.get(), component->counters[0]); });
    pass.whole([&] { return tly_start_counting_group(group.get()); });
    tly_counter_value_t value{};
    const bool is_read = pass.may([&] { return group->read_callback(group.get(), &value); });
    EXPECT_EQ(value.string[7], is_read && has_counter ? 'v' : '\0');
    pass.whole([&] { return tly_stop_counting_group(group.get()); });
  }
  provider->provider_finalize(provider);
  static_cast<void>(std::exchange(remote.next, {}));  // unless it was delivered
  pass.may([] { return rpe_mediator_run_command("true", true, 9, nullptr, nullptr); });
}

SCENARIO(RemoteEvents) {
  static Remote side(kEvents);
  remote.next = {Delivery::kData, "???E????????" + std::string{0, 0, 0, 1} + "aaaa"};
  tly_event_provider_t* const provider = construct(pass, [] { return side.events(); });
  const TypeSystemPtr types(tly_create_type_system());
  uint8_t area[100];
  tly_data_serializer_t serializer{types.get(), area, sizeof area, 0};
  const bool is_initialized =
      pass.call([&] { return provider->event_provider_initialize(provider, types.get()); });
  EXPECT_TRUE(is_initialized || pass.has_failed());
  EXPECT_EQ(types->num_schemas, is_initialized ? 1 : 0);
  const SourceArray sources(
      pass.call([=] { return provider->event_provider_get_sources(provider); }));
  pass.call([=] {
    tly_event_provider_config_t config;
    return provider->event_provider_get_source_config(provider, 0, &config);
  });
  pass.whole([=] { return provider->event_provider_start(provider); });
  const bool is_copied = pass.call([&] {
    return provider->event_provider_progress(provider, 0, &serializer) == TLY_PROGRESS_DONE;
  });
  EXPECT_TRUE(is_copied || pass.has_failed());
  EXPECT_EQ(serializer.used, is_copied ? 20U : 0U);
  static_cast<void>(std::exchange(remote.next, {}));  // unless it was delivered
  const int32_t status = pass.call([=] { return provider->event_provider_stop(provider); });
  EXPECT_TRUE(status == remote.status || (status == -1 && pass.last_call_failed()));
}

// The client of the tree, within this program.
using Client = Owned<void, &qpx_client_destroy>;

bool create_remotely(const Client& client, bool has_events, qpx_event_provider_details_t* details) {
  return has_events ? qpx_client_event_provider_create(client.get(), "process", nullptr, details)
                    : qpx_client_counter_provider_create(client.get(), "host", nullptr, details);
}

void release(qpx_event_provider_details_t& details) {
  for (void* const block :
       {static_cast<void*>(details.name), static_cast<void*>(details.description),
        static_cast<void*>(details.type_system_json), static_cast<void*>(details.configs)}) {
    std::free(block);
  }
  tly_destroy_source_array(details.sources);
}

SCENARIO(ExecutorProviders) {
  static std::string texts[2];
  const Client client(pass.whole([] { return qpx_client_init(); }));
  if (!client) {
    return;
  }
  for (const bool has_events : {true, false}) {
    qpx_event_provider_details_t details;
    std::memset(&details, 0xA5, sizeof details);
    const qpx_event_provider_details_t untouched = details;
    // A file may do without its buffer.
    if (!pass.may([&] { return create_remotely(client, has_events, &details); })) {
      EXPECT_EQ(std::memcmp(&details, &untouched, sizeof details), 0);
      continue;
    }
    std::string& text = texts[has_events ? 1 : 0];
    EXPECT_TRUE(text.empty() || text == details.type_system_json);
    text = details.type_system_json;
    EXPECT_TRUE((details.sources != nullptr) == has_events &&
                (details.configs != nullptr) == has_events);
    release(details);
  }
}

SCENARIO(ExecutorDeliveries) {
  static const Client client(qpx_client_init());
  static const uint32_t host_id = [] {
    qpx_event_provider_details_t details{};
    EXPECT_TRUE(create_remotely(client, false, &details));
    release(details);
    return details.remote_id;
  }();
  void* buffer = nullptr;
  uint64_t size = 7;
  const bool is_delivered = pass.whole(
      [&] { return qpx_client_event_provider_progress(client.get(), host_id, 0, &buffer, &size); });
  EXPECT_EQ(buffer != nullptr && size > 16, is_delivered);
  EXPECT_TRUE(is_delivered || size == 7);
  std::free(buffer);
  char* output = nullptr;
  uint64_t length = 0;
  const bool has_run = pass.whole(
      [&] { return qpx_client_run_command(client.get(), "echo out", true, 9, &output, &length); });
  EXPECT_EQ(output != nullptr ? output : std::string("none"), has_run ? "out\n" : "none");
  EXPECT_EQ(length, has_run ? 4U : 0U);
  std::free(output);
  EXPECT_FALSE(qpx_client_run_command(client.get(), "exit 1", true, 9, nullptr, nullptr));
  EXPECT_TRUE(qpx_client_run_command(client.get(), "exit 1", false, 9, nullptr, nullptr));
}

TEST(ExecutorClient, TakesNullForItsPointers) {
  void* buffer = nullptr;
  EXPECT_FALSE(create_remotely(nullptr, true, nullptr));
  EXPECT_FALSE(qpx_client_event_provider_progress(nullptr, 0, 0, &buffer, nullptr));
  EXPECT_EQ(qpx_client_event_provider_terminate(nullptr, 0), -1);
  EXPECT_FALSE(qpx_client_run_command(nullptr, "true", true, 9, nullptr, nullptr));
}

SCENARIO(Connection) {
  std::optional<GrpcHandler> handler;
  pass.may([&] { return handler.emplace().connected(); });
  handler.reset();
  dlerror();  // releases the text of a failure
  dlerror();
}

constexpr char kTool[] = R"(=== pmc_res === {"instance":{"counter_with_a_long_name":7}})";

SCENARIO(ToolProvider) {
  static ToolShim shim;
  shim.print(kTool);
  tly_provider_t* const provider = pass.may([] { return construct_counter_provider(nullptr); });
  static tly_provider_t* const record = provider;  // the one there is
  if (provider == nullptr) {
    vintor_provider_finalize(record);  // a late failure leaves the components
    return;
  }
  EXPECT_EQ(provider->num_components, 1);
  // Without memory for a counter the component has none.
  EXPECT_TRUE(provider->components[0]->num_counters == 1 || pass.has_failed());
  if (const GroupPtr group(
          pass.whole([=] { return tly_create_counter_group(provider, provider->components[0]); }));
      group && provider->components[0]->num_counters > 0) {
    pass.whole([&] {
      return tly_add_counter_to_group(group.get(), provider->components[0]->counters[0]);
    });
    pass.whole([&] { return tly_start_counting_group(group.get()); });
    tly_counter_value_t value;
    pass.whole([&] { return group->read_callback(group.get(), &value); });
    pass.whole([&] { return tly_stop_counting_group(group.get()); });
  }
  provider->provider_finalize(provider);
}

// Lets the collector sample on its thread until a read gives the value, or an allocation failed.
bool sample(void* collector, tly_counter_group_t* group, uint64_t wanted, const Pass& pass) {
  tly_counter_value_t value{};
  if (!vintor_collector_start(collector)) {
    return false;
  }
  while (value.u64 != wanted && !pass.fails_in_this_call()) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    vintor_collector_read_group(collector, group, &value);
  }
  vintor_collector_stop(collector);
  return true;
}

SCENARIO(Sampling) {
  static ToolShim shim;
  char name[] = "pmc_res:instance:counter_with_a_long_name";
  tly_counter_info_t counter{};
  counter.name = name;
  counter.data_type = TLY_DATA_TYPE_UINT64;
  tly_counter_info_t* counters[] = {&counter};
  tly_counter_group_t group{};
  group.num_counters = 1;
  group.counters = counters;

  allocations_fail_everywhere = true;  // on the sampling thread above all
  shim.print(kTool);
  pass.may([] { return vintor_collector_is_available(); });
  const Owned<void, &vintor_collector_destroy_ctx> collector(
      pass.whole([] { return vintor_collector_initialize_ctx(); }));
  if (!collector ||
      !pass.whole([&] { return vintor_collector_add_group(collector.get(), &group); })) {
    return;
  }
  ASSERT_TRUE(sample(collector.get(), &group, 7, Pass(-1)));
  shim.print(R"(=== pmc_res === {"instance":{"counter_with_a_long_name":8}})");
  pass.may([&] { return sample(collector.get(), &group, 8, pass); });
  tly_counter_value_t value{};
  EXPECT_TRUE(vintor_collector_read_group(collector.get(), &group, &value));
  EXPECT_TRUE(value.u64 == 8 || (value.u64 == 7 && pass.has_failed())) << value.u64;
}

// Neither the first read, nor one of a group that was registered after it, nor one after a sample
// with other names.
TEST(GroupReads, AllocateNothing) {
  ToolShim shim;
  vintor::collector::Collector collector;
  char names[][14] = {"pmc_res:i:one", "pmc_res:i:two"};
  tly_counter_info_t counters[2]{};
  tly_counter_info_t* pointers[2];
  tly_counter_group_t groups[2]{};
  for (const uint32_t i : {0U, 1U}) {
    counters[i].name = names[i];
    counters[i].data_type = TLY_DATA_TYPE_UINT64;
    counters[i].offset = 8 * i;
    pointers[i] = &counters[i];
    groups[i].counters = &pointers[i];
    groups[i].num_counters = 1;
  }
  const auto sample = [&](const char* output) {
    shim.print(output);
    EXPECT_TRUE(collector.doCollection());
  };
  const auto add = [&](uint32_t i) { return vintor_collector_add_group(&collector, &groups[i]); };
  const auto read = [&](uint32_t i) {
    tly_counter_value_t values[2]{};
    Pass pass(0);
    EXPECT_TRUE(
        pass.call([&] { return vintor_collector_read_group(&collector, &groups[i], values); }));
    EXPECT_FALSE(pass.has_failed());
    return values[i].u64;
  };
  allocations_fail_here = true;
  EXPECT_TRUE(add(0));
  sample(R"(=== pmc_res === {"i":{"one":1,"two":2}})");
  EXPECT_EQ(read(0), 1U);
  EXPECT_TRUE(add(1));
  EXPECT_EQ(read(1), 2U);
  sample(R"(=== pmc_res === {"i":{"two":4,"new":5,"one":3}})");
  EXPECT_EQ(read(0), 3U);
  EXPECT_EQ(read(1), 4U);
}

}  // namespace
}  // namespace tly::test
