#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "log_capture.h"
#include "records.h"
#include "tallyra/logging.h"
#include "tallyra/vintor_provider.h"
#include "tool_shim.h"

namespace {

using namespace std::chrono_literals;
using tly::test::GroupPtr;
using tly::test::LogCapture;
using tly::test::LogLine;
using tly::test::ScopedEnv;
using tly::test::ToolShim;

// A started group with every counter of the component, each at 8 times its id.
GroupPtr start_group(tly_provider_t* provider, const tly_component_t* component) {
  GroupPtr group(tly_create_counter_group(provider, component));
  for (int i = 0; i < component->num_counters; ++i) {
    tly_counter_info_t counter = *component->counters[i];
    counter.offset = counter.id * 8;
    EXPECT_TRUE(tly_add_counter_to_group(group.get(), &counter));
  }
  EXPECT_TRUE(tly_start_counting_group(group.get()));
  return group;
}

void expect_empty(const tly_provider_t* provider) {
  EXPECT_EQ(provider->num_components, 0);
  EXPECT_EQ(provider->components, nullptr);
  EXPECT_EQ(provider->context, nullptr);
}

class Provider : public testing::Test {
 protected:
  tly_provider_t* construct() {
    shim_.print(R"(=== pmc_res === {"cpu0":{"cycles":7,"freq_mhz":2.5}} === b === {})");
    return construct_counter_provider(nullptr);
  }

  ToolShim shim_;
  ScopedEnv interval_{"TLY_VINTOR_SAMPLE_INTERVAL_NSEC", "0"};
};

TEST_F(Provider, ServesGroupsFromConstructionToFinalize) {
  tly_provider_t* const provider = construct();
  ASSERT_NE(provider, nullptr);
  EXPECT_EQ(provider->version, 65536);
  EXPECT_STREQ(provider->name, "vintor");
  EXPECT_STREQ(provider->description, "Quenmark Arvalen performance counters provider");
  ASSERT_EQ(provider->num_components, 2);
  void* const context = provider->context;
  EXPECT_EQ(construct_counter_provider(nullptr), provider) << "while it is running";
  EXPECT_EQ(provider->context, context);

  GroupPtr group = start_group(provider, provider->components[0]);
  EXPECT_EQ(group->granularity, TLY_GRANULARITY_NODE);
  EXPECT_EQ(group->num_counter_sets, 1u);
  EXPECT_EQ(group->num_counters, 2u);
  tly_counter_value_t values[2] = {};
  while (values[0].u64 == 0) {
    ASSERT_TRUE(group->read_callback(group.get(), values));
    std::this_thread::sleep_for(1ms);
  }
  EXPECT_TRUE(tly_stop_counting_group(group.get()));
  EXPECT_TRUE(provider->counter_group_read(group.get(), values));
  EXPECT_EQ(values[0].u64, 7u);
  EXPECT_EQ(values[1].fp64, 2.5);
  group.reset();

  provider->provider_finalize(provider);
  expect_empty(provider);
  provider->provider_finalize(provider);
  vintor_collector_destroy_ctx(provider->context);  // null by now
  EXPECT_EQ(construct_counter_provider(nullptr), provider) << "after a finalize";
  EXPECT_EQ(provider->num_components, 2);
  provider->provider_finalize(provider);
}

TEST_F(Provider, CountsOneSetPerNodeOnly) {
  tly_provider_t* const provider = construct();
  ASSERT_NE(provider, nullptr);
  const tly_component_t* const component = provider->components[0];
  GroupPtr group(tly_create_counter_group(provider, component));
  const LogCapture log;
  group->granularity = TLY_GRANULARITY_CPU;
  EXPECT_FALSE(tly_add_counter_to_group(group.get(), component->counters[0]));
  group->granularity = TLY_GRANULARITY_NODE;
  group->num_counter_sets = 2;
  EXPECT_FALSE(tly_add_counter_to_group(group.get(), component->counters[0]));
  EXPECT_EQ(group->num_counters, 0u);
  const std::string refused = "[vintor] Provider supports per node granularity only. ";
  EXPECT_THAT(log.texts(3),
              testing::ElementsAre(refused + "CPU is given", refused + "NODE is given"));
  group.reset();
  provider->provider_finalize(provider);
}

// The decision to go through the client is made once, by the first command.
TEST_F(Provider, IsNotOfferedInAContainerWithoutAClient) {
  const ScopedEnv client("QPX_CLIENT_SO", nullptr);
  const LogCapture log;
  {
    const ScopedEnv container("DOCKER_ENV", "Yes");
    EXPECT_EQ(construct_counter_provider(nullptr), nullptr);
  }
  const std::string unconnected = "[RPE mediator provider] no connection to server, cannot run";
  const std::string unavailable =
      "[vintor] Cannot run provider - vintor collector is not available";
  EXPECT_THAT(log.texts(6), testing::ElementsAre(unconnected, unavailable));
  EXPECT_EQ(log.count(7, "[vintor] Could not find '/usr/bin/vintor_pmc'"), 1u);
  EXPECT_EQ(log.count(7, "[vintor] Could not initialize provider"), 1u);
  EXPECT_EQ(construct(), nullptr) << "the environment changed, the decision stays";
}

TEST_F(Provider, IsNotOfferedWithoutAWorkingTool) {
  tly_provider_t* const provider = construct();
  ASSERT_NE(provider, nullptr);
  provider->provider_finalize(provider);
  LogCapture log(6);
  shim_.print("");
  EXPECT_EQ(construct_counter_provider(nullptr), nullptr);
  expect_empty(provider);
  shim_.remove_tool();
  EXPECT_EQ(construct_counter_provider(nullptr), nullptr);
  expect_empty(provider);
  EXPECT_THAT(log.lines(),
              testing::ElementsAre(
                  LogLine{3, "[vintor] [init_provider] Got empty output"},
                  LogLine{3, "[vintor] Failed to initialize provider"},
                  LogLine{6, "[vintor] Cannot run provider - vintor collector is not available"}));
}

void exit_with_seven(int, const char*, ...) { _exit(7); }

TEST_F(Provider, LeavesAForkedChildFreeToExit) {
  tly_provider_t* const provider = construct();
  ASSERT_NE(provider, nullptr);
  const pid_t child = fork();
  if (child == 0) {
    // The sampling thread is not here, and what it held stays locked: nothing may be finalized.
    tly_set_log_func(&exit_with_seven, 7);
    exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) != 7);
  provider->provider_finalize(provider);
}

}  // namespace
