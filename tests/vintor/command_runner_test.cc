#include "vintor/command_runner.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <csignal>
#include <cstring>
#include <optional>

#include "common/owned.h"
#include "log_capture.h"

namespace {

using vintor::collector::execute_command;

// What the command printed, or nothing when it failed.
std::optional<std::string> run(const std::string& command) {
  char garbage[] = "garbage";
  char* output = garbage;
  std::uint64_t length = 99;
  const bool is_done = execute_command(command.c_str(), &output, &length);
  const tly::OwnedString owned(output);
  EXPECT_EQ(is_done, output != nullptr);
  EXPECT_EQ(length, output != nullptr ? std::strlen(output) : 0);
  return is_done ? std::optional<std::string>(output) : std::nullopt;
}

TEST(CommandRunner, HandsOverWhatACommandPrintsUnlessItFails) {
  const std::string line(9000, 'x');
  EXPECT_EQ(run("{ echo out; echo err >&2; }"), "out\nerr\n");
  EXPECT_EQ(run("true"), "");
  EXPECT_EQ(run("printf " + line), line);
  EXPECT_EQ(run("printf 'a\\000b\\nc\\n'"), "ac\n");
  EXPECT_TRUE(execute_command("true", nullptr, nullptr));

  const tly::test::LogCapture log;
  EXPECT_EQ(run("{ echo text; exit 1; }"), std::nullopt);
  EXPECT_EQ(run("/no/such/command"), std::nullopt);
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none{.rlim_cur = 3, .rlim_max = limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  EXPECT_EQ(run("echo text"), std::nullopt);
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_THAT(log.texts(7),
              testing::ElementsAre("[vintor] Command execution failed with status: 256",
                                   "[vintor] Command execution failed with status: 32512",
                                   "[vintor] Failed to execute command: echo text"));
}

TEST(CommandRunner, LosesNothingWhenSignalsInterruptTheRead) {
  struct sigaction alarm_is_handled {};
  alarm_is_handled.sa_handler = [](int) {};  // without SA_RESTART
  sigaction(SIGALRM, &alarm_is_handled, nullptr);
  itimerval timer{.it_interval = {0, 5'000}, .it_value = {0, 5'000}};
  setitimer(ITIMER_REAL, &timer, nullptr);
  EXPECT_EQ(run("{ printf abc; sleep 0.05; printf def; sleep 0.05; echo; }"), "abcdef\n");
  timer = {};
  setitimer(ITIMER_REAL, &timer, nullptr);
}

}  // namespace
