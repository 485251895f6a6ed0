#include "executor/command.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "environment.h"
#include "executor/kernel_files.h"
#include "executor/process_scan.h"
#include "sanitizers.h"

namespace tly::executor {
namespace {

using std::chrono::milliseconds;
using Outcome = CommandOutcome;

bool becomes_true(const std::function<bool()>& condition) {
  for (int i = 0; i < 1000 && !condition(); ++i) {
    std::this_thread::sleep_for(milliseconds(5));
  }
  return condition();
}

bool runs(const std::string& pid) {
  std::string line;
  return read_kernel_file("/proc/" + pid + "/stat", line) && parse_process(line);
}

std::ptrdiff_t open_descriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

bool has_child() { return waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT) == 0; }

// Nothing that a test did is left at its end.
class Command : public testing::Test {
 protected:
  ~Command() override {
    for (const std::string& pid : noted_processes()) {
      EXPECT_TRUE(becomes_true([&] { return !runs(pid); })) << pid;
    }
    EXPECT_FALSE(has_child());
    EXPECT_EQ(open_descriptors(), descriptors_);
  }

  // Commands write the ids of their processes into $noted.
  std::vector<std::string> noted_processes() const {
    std::ifstream file(directory_.path() / "noted");
    return {std::istream_iterator<std::string>(file), {}};
  }

 private:
  test::TemporaryDirectory directory_;
  test::ScopedEnv noted_{"noted", (directory_.path() / "noted").c_str()};
  std::ptrdiff_t descriptors_ = open_descriptors();
};

TEST_F(Command, GivesOutputAndStatus) {
  const struct {
    const char* line;
    bool requires_success;
    Outcome outcome;
    std::string output;
  } cases[] = {
      {"printf 'a\\n\\000b'", true, Outcome::kSucceeded, {"a\n\0b", 4}},
      {"cat; echo end", true, Outcome::kSucceeded, "end\n"},
      {"echo out; exit 3", true, Outcome::kFailed, "out\n"},
      {"echo out; exit 3", false, Outcome::kSucceeded, "out\n"},
      {"kill -KILL $$", true, Outcome::kFailed, ""},
      {"echo out; exec >&-; sleep 0.05; exit 1", true, Outcome::kFailed, "out\n"},
      {"kill -TERM $$; echo survived", false, Outcome::kSucceeded, ""},
      {"kill -PIPE $$; echo survived", false, Outcome::kSucceeded, ""},
      {"head -c 67108864 /dev/zero", true, Outcome::kSucceeded, std::string(64 << 20, '\0')},
      {"echo $$ >$noted; head -c 67108865 /dev/zero; sleep 99", false, Outcome::kOutputTooLarge,
       "?"},
  };
  // What a host blocks or ignores is none of the command's business.
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
  signal(SIGPIPE, SIG_IGN);
  for (const auto& test : cases) {
    for (const milliseconds limit : {milliseconds(0), milliseconds(30000)}) {
      const CommandResult result = run_command(test.line, {test.requires_success, limit});
      EXPECT_EQ(result.outcome, test.outcome) << test.line;
      EXPECT_TRUE(test.output == "?" || result.output == test.output) << test.line;
    }
  }
}

TEST_F(Command, IsEndedWithItsWholeGroupAtTheLimit) {
  constexpr milliseconds kLimit(150);
  for (const char* line : {"echo $$ >>$noted; sleep 99 & echo $! >>$noted; wait",
                           "echo $$ >>$noted; exec >&-; sleep 99",
                           "echo $$ >>$noted; while :; do echo x; sleep 0.01; done",
                           "sleep 99 & echo $! >>$noted",  // the shell is gone, its output is not
                           "trap '' TERM INT; echo $$ >>$noted; sleep 99"}) {
    for (const auto action : {SIG_DFL, SIG_IGN}) {
      if (action == SIG_IGN && std::string(line).starts_with("sleep")) {
        continue;  // with nobody to ask whose the group's id is
      }
      signal(SIGCHLD, action);
      const auto start = std::chrono::steady_clock::now();
      EXPECT_EQ(run_command(line, {false, kLimit}).outcome, Outcome::kTimedOut) << line;
      const auto elapsed = std::chrono::steady_clock::now() - start;
      EXPECT_TRUE(elapsed >= kLimit && elapsed < kLimit + std::chrono::seconds(5)) << line;
    }
  }
  EXPECT_EQ(noted_processes().size(), 11U);
}

TEST_F(Command, HasNoStatusWhereChildrenAreReapedByTheSystem) {
  signal(SIGCHLD, SIG_IGN);
  EXPECT_EQ(run_command("echo out", {true, milliseconds(0)}).outcome, Outcome::kFailed);
  const CommandResult result = run_command("echo out", {false, milliseconds(0)});
  EXPECT_EQ(result.outcome, Outcome::kSucceeded);
  EXPECT_EQ(result.output, "out\n");
}

TEST_F(Command, IsEndedWhenItsThreadIsCancelled) {
  if (test::kAddressIsSanitized) {
    GTEST_SKIP() << "the sanitizer takes unwound frames for live ones";
  }
  for (const char* line : {"echo $$ >>$noted; sleep 99", "exec >&-; echo $$ >>$noted; sleep 99"}) {
    for (const milliseconds limit : {milliseconds(0), milliseconds(90000)}) {
      const std::size_t before = noted_processes().size();
      std::thread thread([&] { run_command(line, {true, limit}); });
      ASSERT_TRUE(becomes_true([&] { return noted_processes().size() > before; }));
      pthread_cancel(thread.native_handle());
      thread.join();
    }
  }
  for (int i = 0; i < 200; ++i) {  // at whatever point a command has reached
    std::thread thread([] {
      while (true) {
        run_command("echo out", {true, milliseconds(90000)});
      }
    });
    std::this_thread::sleep_for(std::chrono::microseconds(17 * i));
    pthread_cancel(thread.native_handle());
    thread.join();
  }
}

}  // namespace
}  // namespace tly::executor
