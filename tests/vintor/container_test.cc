// The provider inside a container. Where it runs, and the settings that are read while the library
// is loaded, are decided before any test begins.
#include <gmock/gmock.h>

#include <thread>

#include "log_capture.h"
#include "tallyra/vintor_provider.h"
#include "tool_shim.h"
#include "vintor/collector.h"

// Earlier than the library's own initialisers.
__attribute__((constructor(150))) static void set_environment() {
  setenv("QPX_CLIENT_SO", SCRIPTED_CLIENT, 1);
  setenv("TLY_DOCKER_ENV", "no", 1);
  setenv("DOCKER_ENV", "yes", 1);
  setenv("RUN_IN_DOCKER", "True", 1);
  setenv("TLY_VINTOR_COMMAND_TIMEOUT", "45s", 1);
  setenv("TLY_VINTOR_SAMPLE_INTERVAL_NSEC", "0", 1);
  setenv("TLY_VINTOR_PMC_RES_IS_UINT", "no", 1);
  setenv("VINTOR_PMC_RES_BW_IS_UINT", "yes", 1);
}

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using tly::test::LogCapture;
using tly::test::LogLine;
using tly::test::ScopedEnv;

class Container : public testing::Test {
 protected:
  tly::test::ToolShim shim_;
  tly::test::TemporaryDirectory directory_;
  ScopedEnv record_{"SCRIPTED_CLIENT_RECORD", (directory_.path() / "record").c_str()};
};

TEST_F(Container, SendsEveryCommandToTheClient) {
  const LogCapture log;
  shim_.print(R"(=== pmc_res === {"k":{"v":1}} === pmc_res_bw === {"k":{"v":1}})");
  tly_provider_t* const provider = construct_counter_provider(nullptr);
  ASSERT_NE(provider, nullptr);
  EXPECT_EQ(provider->components[0]->counters[0]->data_type, TLY_DATA_TYPE_FP64);
  EXPECT_EQ(provider->components[1]->counters[0]->data_type, TLY_DATA_TYPE_UINT64);
  while (shim_.runs() < 2) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  provider->provider_finalize(provider);

  std::ifstream file(directory_.path() / "record");
  std::vector<std::string> calls;
  for (std::string call; std::getline(file, call) && calls.size() < 3;) {
    calls.push_back(call);
  }
  const std::string head = "run_command ctx=given flag=1 time_limit=45 ";
  const std::string run = head + "output=given length=given command=python3 /usr/bin/vintor_pmc";
  EXPECT_THAT(calls, ElementsAre(head + "output=null length=null command=ls -l /usr/bin/vintor_pmc",
                                 run, run));
  EXPECT_EQ(log.texts(4).size(), 1u);
  EXPECT_THAT(log.texts(4)[0], HasSubstr("TLY_DOCKER_ENV=no and DOCKER_ENV=yes"));
}

TEST_F(Container, KeepsTheTimeLimitThatIsNoNumber) {
  const ScopedEnv limit("TLY_VINTOR_COMMAND_TIMEOUT", "soon");
  EXPECT_TRUE(vintor_collector_is_available());
  std::ifstream file(directory_.path() / "record");
  std::string call;
  std::getline(file, call);
  EXPECT_THAT(call, HasSubstr(" time_limit=30 "));
}

TEST_F(Container, TakesASuccessWithoutTextForEmptyOutput) {
  const LogLine empty{4, "[vintor] Got empty output"};
  const LogLine failed{4, "[vintor] Failed to get data"};
  vintor::collector::Collector collector;
  collector.doCollection();
  for (const auto& [mode, line] : {std::pair{"empty", empty}, std::pair{"fail", failed}}) {
    const ScopedEnv client("SCRIPTED_CLIENT_RUN_COMMAND", mode);
    const LogCapture log(4);
    EXPECT_FALSE(collector.doCollection());
    EXPECT_THAT(log.lines(), ElementsAre(line));
  }
  const LogCapture log(3);
  tly_provider_t provider{};
  const ScopedEnv null_text("SCRIPTED_CLIENT_RUN_COMMAND", "null-text");
  EXPECT_FALSE(vintor_collector_init_provider(&provider, nullptr));
  EXPECT_THAT(log.texts(3), ElementsAre("[vintor] [init_provider] Got empty output"));
}

}  // namespace
