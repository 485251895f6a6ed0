#include "tallyra/rpe_mediator.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include "log_capture.h"
#include "remote_side.h"
#include "scripted_client/recorded_calls.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tly::test::LogCapture;
using tly::test::RecordedCalls;
using tly::test::ScopedEnv;

// The library that holds the mediator, loaded with the environment of the moment.
class LoadedMediator {
 public:
  LoadedMediator() : library_(dlopen(LOADABLE_MEDIATOR, RTLD_NOW)) {
    EXPECT_NE(library_, nullptr) << dlerror();
    find("rpe_mediator_run_command", run_command);
    find("rpe_mediator_construct_counter_provider", construct_counters);
    find("rpe_mediator_construct_event_provider", construct_events);
  }
  ~LoadedMediator() { dlclose(library_); }
  LoadedMediator(const LoadedMediator&) = delete;
  LoadedMediator& operator=(const LoadedMediator&) = delete;

  decltype(&rpe_mediator_run_command) run_command;
  decltype(&rpe_mediator_construct_counter_provider) construct_counters;
  decltype(&rpe_mediator_construct_event_provider) construct_events;

 private:
  template <typename Function>
  void find(const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library_, name));
  }

  void* library_;
};

class RpeMediator : public testing::Test {
 protected:
  ScopedEnv client_path_{"QPX_CLIENT_SO", SCRIPTED_CLIENT};
  ScopedEnv root_{"TLY_ROOT", "/no/root"};
  char untouched_[1] = "";
  char* output_ = untouched_;
  uint64_t length_ = 99;
};

TEST_F(RpeMediator, WithoutAConnectionReportsEachCallAndWritesNothing) {
  const ScopedEnv no_client("QPX_CLIENT_SO", nullptr);
  const LoadedMediator mediator;
  // The connection was decided when the library was loaded.
  const ScopedEnv too_late("QPX_CLIENT_SO", SCRIPTED_CLIENT);
  const LogCapture log;
  EXPECT_FALSE(mediator.run_command("echo", true, 30, &output_, &length_));
  EXPECT_FALSE(mediator.run_command("echo", true, 30, nullptr, nullptr));
  EXPECT_EQ(mediator.construct_counters(nullptr), nullptr);
  EXPECT_EQ(mediator.construct_events(nullptr), nullptr);
  EXPECT_EQ(output_, untouched_);
  EXPECT_EQ(length_, 99u);
  const std::string message = "[RPE mediator provider] no connection to server, cannot run";
  EXPECT_EQ(log.count(6, message), 4u);
  EXPECT_EQ(log.lines().size(), 4u);
}

TEST_F(RpeMediator, PassesEverythingThroughBetweenLoadAndUnload) {
  const RecordedCalls calls;
  {
    const LoadedMediator mediator;
    const LogCapture log;
    ASSERT_TRUE(mediator.run_command("echo a; echo b >&2", true, 30, &output_, &length_));
    EXPECT_STREQ(output_, "a\nb\n");
    EXPECT_EQ(length_, 4u);
    free(output_);
    EXPECT_TRUE(mediator.run_command("true", false, 0xFFFFFFFF, nullptr, nullptr));
    EXPECT_FALSE(mediator.run_command("false", true, 0, nullptr, &length_));
    const ScopedEnv mode("SCRIPTED_CLIENT_RUN_COMMAND", "throw");
    EXPECT_FALSE(mediator.run_command("-", true, 1, &output_, nullptr));
    EXPECT_THAT(log.lines(), IsEmpty());
  }
  const std::string call = "run_command ctx=given ";
  EXPECT_THAT(
      calls.lines(),
      ElementsAre(
          "init",
          call + "flag=1 time_limit=30 output=given length=given command=echo a; echo b >&2",
          call + "flag=0 time_limit=4294967295 output=null length=null command=true",
          call + "flag=1 time_limit=0 output=null length=given command=false",
          call + "flag=1 time_limit=1 output=given length=null command=-", "destroy ctx=given"));
}

TEST_F(RpeMediator, ReleasesAtUnloadTheProvidersThatNobodyEnded) {
  const RecordedCalls calls;
  {
    const LoadedMediator mediator;
    tly::test::follow(SCRIPTED_CLIENT, {[](void*, auto* name, auto*, auto* details) {
                                          details->name = strdup(name);
                                          details->type_system_json =
                                              strdup(COUNTERS(GROUP("g", COUNTER)));
                                          return true;
                                        },
                                        {},
                                        {},
                                        {}});
    tly_dict_t* const custom = tly_dict_create();
    tly_dict_add(custom, "enable-provider", "grpc.a");
    const tly_options_t options{nullptr, nullptr, custom};
    EXPECT_NE(mediator.construct_counters(&options), nullptr);
    tly_dict_delete(custom);
  }
  EXPECT_THAT(calls.lines(),
              ElementsAre("init", "create_counters ctx=given name=a", "destroy ctx=given"));
}

}  // namespace
