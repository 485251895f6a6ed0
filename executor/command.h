// Runs command lines on behalf of clients.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace tly::executor {

// More output than this ends a command.
inline constexpr std::size_t kMaxCommandOutput = std::size_t{64} << 20;

struct CommandOptions {
  bool requires_success = true;             // a status other than 0, or a signal, is a failure
  std::chrono::milliseconds time_limit{0};  // none for 0
};

enum class CommandOutcome { kSucceeded, kNotStarted, kFailed, kTimedOut, kOutputTooLarge };

// A constant text for a message.
const char* outcome_text(CommandOutcome outcome) noexcept;

struct CommandResult {
  CommandOutcome outcome = CommandOutcome::kSucceeded;
  std::string output;  // byte for byte; to be used after success only
};

// Runs the line by /bin/sh in a process group of its own, with /dev/null as standard input and the
// caller's standard error, and collects its standard output until that is closed and the shell has
// ended.
//
// At the time limit, at too much output, and when the calling thread is cancelled or memory runs
// out, the whole group is killed and the shell reaped; a process that left the group stays. So does
// one that the shell left behind in the background, but while it holds the output the command has
// not ended.
//
// Where the host ignores SIGCHLD or reaps children that are not its own, the status is unknown: a
// failure when success is required. A group is not killed once its shell has been reaped by
// another, since the group's id may by then be somebody else's.
//
// Any number of threads may run commands. The wait is a point of cancellation.
CommandResult run_command(const std::string& line, const CommandOptions& options);

}  // namespace tly::executor
