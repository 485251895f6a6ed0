#include "executor/command.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <optional>
#include <thread>

#include "executor/descriptor.h"

namespace tly::executor {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class Deadline {
 public:
  explicit Deadline(milliseconds limit) {
    if (limit.count() > 0) {
      end_ = Clock::now() + limit;
    }
  }

  bool is_set() const { return end_.has_value(); }
  bool has_passed() const { return end_ && Clock::now() >= *end_; }

  // For poll(2): at least 1 before the deadline, -1 without one.
  int poll_timeout() const {
    if (!end_) {
      return -1;
    }
    const auto left = std::chrono::ceil<milliseconds>(*end_ - Clock::now()).count();
    return static_cast<int>(std::clamp<milliseconds::rep>(left, 0, INT_MAX));
  }

 private:
  std::optional<Clock::time_point> end_;
};

enum class ShellState { kRunning, kEnded, kLost };  // lost: somebody else has reaped it

// A started shell, the leader of its process group. As long as it is not reaped, its id and that of
// the group are its own.
class Shell {
 public:
  explicit Shell(pid_t pid) noexcept : pid_(pid) {}
  Shell(Shell&& other) noexcept : pid_(std::exchange(other.pid_, 0)) {}
  Shell& operator=(Shell&&) = delete;

  // Kills the group of a shell that was not reaped.
  ~Shell() {
    const CancellationHold hold;
    if (pid_ != 0 && state(WNOHANG) != ShellState::kLost) {
      kill(-pid_, SIGKILL);
      reap();
    }
  }

  // Waits for the end unless the flags hold WNOHANG. Leaves the shell to be reaped.
  ShellState state(int flags) const {
    siginfo_t info{};
    if (!wait(&info, flags | WNOWAIT)) {
      return ShellState::kLost;
    }
    return info.si_pid == 0 ? ShellState::kRunning : ShellState::kEnded;
  }

  // Waits for the end; whether the shell is known to have exited with status 0.
  bool reap() {
    // Cancelled after the wait, the destructor would take the id for the shell's.
    const CancellationHold hold;
    siginfo_t info{};
    const bool has_status = wait(&info, 0);
    pid_ = 0;
    return has_status && info.si_code == CLD_EXITED && info.si_status == 0;
  }

 private:
  bool wait(siginfo_t* info, int flags) const {
    int result = 0;
    do {
      result = waitid(P_PID, static_cast<id_t>(pid_), info, WEXITED | flags);
    } while (result != 0 && errno == EINTR);
    return result == 0;
  }

  pid_t pid_;
};

class SpawnAttributes {
 public:
  SpawnAttributes() { is_made_ = posix_spawnattr_init(&attributes_) == 0; }
  ~SpawnAttributes() {
    if (is_made_) {
      posix_spawnattr_destroy(&attributes_);
    }
  }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;

  // A process group of its own, no blocked signal, and every signal's default action.
  bool fill() {
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    return is_made_ && posix_spawnattr_setpgroup(&attributes_, 0) == 0 &&
           posix_spawnattr_setsigmask(&attributes_, &none) == 0 &&
           posix_spawnattr_setsigdefault(&attributes_, &all) == 0 &&
           posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK |
                                                      POSIX_SPAWN_SETSIGDEF) == 0;
  }
  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_;
  bool is_made_;
};

class SpawnActions {
 public:
  SpawnActions() { is_made_ = posix_spawn_file_actions_init(&actions_) == 0; }
  ~SpawnActions() {
    if (is_made_) {
      posix_spawn_file_actions_destroy(&actions_);
    }
  }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;

  // The output first: in a host without standard input the pipe may be descriptor 0.
  bool fill(const Descriptor& output) {
    return is_made_ &&
           posix_spawn_file_actions_adddup2(&actions_, output.number(), STDOUT_FILENO) == 0 &&
           posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0) == 0;
  }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
  bool is_made_;
};

std::optional<Shell> start_shell(const std::string& line, const Descriptor& output) {
  SpawnAttributes attributes;
  SpawnActions actions;
  if (!attributes.fill() || !actions.fill(output)) {
    return std::nullopt;
  }
  std::string words[] = {"sh", "-c", "--", line};
  char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(),
                             nullptr};
  pid_t pid = 0;
  if (posix_spawn(&pid, "/bin/sh", actions.get(), attributes.get(), arguments, environ) != 0) {
    return std::nullopt;
  }
  return Shell(pid);
}

CommandOutcome collect_output(const Descriptor& pipe, const Deadline& deadline,
                              std::string& output) {
  while (!deadline.has_passed()) {
    pollfd waited{pipe.number(), POLLIN, 0};
    const int ready = poll(&waited, 1, deadline.poll_timeout());
    if (ready == 0 || (ready < 0 && errno == EINTR)) {
      continue;
    }
    char piece[16384];
    const ssize_t length = ready > 0 ? read(pipe.number(), piece, sizeof piece) : -1;
    if (length == 0) {
      return CommandOutcome::kSucceeded;
    }
    if (length < 0) {
      if (errno == EINTR) {
        continue;
      }
      return CommandOutcome::kFailed;
    }
    if (output.size() + static_cast<std::size_t>(length) > kMaxCommandOutput) {
      return CommandOutcome::kOutputTooLarge;
    }
    output.append(piece, static_cast<std::size_t>(length));
  }
  return CommandOutcome::kTimedOut;
}

// Usually the shell ends as soon as its output is closed, so the pauses start short.
bool ends_in_time(const Shell& shell, const Deadline& deadline) {
  constexpr std::chrono::microseconds kLongestPause(20000);
  std::chrono::microseconds pause(100);
  while (shell.state(deadline.is_set() ? WNOHANG : 0) == ShellState::kRunning) {
    if (deadline.has_passed()) {
      return false;
    }
    std::this_thread::sleep_for(std::min<std::chrono::microseconds>(
        pause, std::chrono::milliseconds(deadline.poll_timeout())));
    pause = std::min(2 * pause, kLongestPause);
  }
  return true;
}

CommandOutcome run(const std::string& line, const CommandOptions& options, std::string& output) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    return CommandOutcome::kNotStarted;
  }
  const Descriptor read_end(ends[0]);
  Descriptor write_end(ends[1]);
  const Deadline deadline(options.time_limit);
  std::optional<Shell> shell = start_shell(line, write_end);
  if (!shell) {
    return CommandOutcome::kNotStarted;
  }
  write_end.close();
  if (const CommandOutcome outcome = collect_output(read_end, deadline, output);
      outcome != CommandOutcome::kSucceeded) {
    return outcome;
  }
  if (!ends_in_time(*shell, deadline)) {
    return CommandOutcome::kTimedOut;
  }
  const bool has_succeeded = shell->reap();
  return has_succeeded || !options.requires_success ? CommandOutcome::kSucceeded
                                                    : CommandOutcome::kFailed;
}

}  // namespace

const char* outcome_text(CommandOutcome outcome) noexcept {
  constexpr const char* kTexts[] = {"succeeded", "could not be started", "failed",
                                    "was ended at its time limit", "was ended for its much output"};
  return kTexts[static_cast<std::size_t>(outcome)];
}

CommandResult run_command(const std::string& line, const CommandOptions& options) {
  CommandResult result;
  result.outcome = run(line, options, result.output);
  return result;
}

}  // namespace tly::executor
