#include "tallyra/rpe_mediator.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include "log_capture.h"
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
    run_command =
        reinterpret_cast<decltype(run_command)>(dlsym(library_, "rpe_mediator_run_command"));
  }
  ~LoadedMediator() { dlclose(library_); }
  LoadedMediator(const LoadedMediator&) = delete;
  LoadedMediator& operator=(const LoadedMediator&) = delete;

  decltype(&rpe_mediator_run_command) run_command;

 private:
  void* library_;
};

class RunCommand : public testing::Test {
 protected:
  ScopedEnv client_path_{"QPX_CLIENT_SO", SCRIPTED_CLIENT};
  ScopedEnv root_{"TLY_ROOT", "/no/root"};
  char untouched_[1] = "";
  char* output_ = untouched_;
  uint64_t length_ = 99;
};

TEST_F(RunCommand, WithoutAConnectionReportsEachCallAndWritesNothing) {
  const ScopedEnv no_client("QPX_CLIENT_SO", nullptr);
  const LoadedMediator mediator;
  // The connection was decided when the library was loaded.
  const ScopedEnv too_late("QPX_CLIENT_SO", SCRIPTED_CLIENT);
  const LogCapture log;
  EXPECT_FALSE(mediator.run_command("echo", true, 30, &output_, &length_));
  EXPECT_FALSE(mediator.run_command("echo", true, 30, nullptr, nullptr));
  EXPECT_EQ(output_, untouched_);
  EXPECT_EQ(length_, 99u);
  const std::string message = "[RPE mediator provider] no connection to server, cannot run";
  EXPECT_EQ(log.count(6, message), 2u);
  EXPECT_EQ(log.lines().size(), 2u);
}

TEST_F(RunCommand, PassesEverythingThroughBetweenLoadAndUnload) {
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

}  // namespace
