// How the agent fails: a message, a piece of advice and the exit status that goes with them.
#pragma once

#include <cstdio>
#include <stdexcept>
#include <string>
#include <utility>

namespace tly::agent {

enum class ExitCode : int {
  kSuccess = 0,
  kFailure = 1,    // anything without a status of its own
  kUsage = 2,      // the command line is wrong
  kLibrary = 3,    // the library cannot be loaded or lacks a function
  kTool = 4,       // the library offers no provider: its tool is missing or unusable
  kSelection = 5,  // nothing is enabled, or a pattern matches nothing
  kNoSample = 6,   // no sample arrived in time
  kSchemaFile = 7  // a schema file cannot be read, written or understood
};

// The message says what is wrong, the advice what to do about it.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& message, std::string advice = {})
      : std::runtime_error(message), code_(code), advice_(std::move(advice)) {}

  ExitCode code() const { return code_; }
  const std::string& advice() const { return advice_; }

 private:
  ExitCode code_;
  std::string advice_;
};

// Says what is wrong on standard error, and what to do about it.
inline void report(const std::string& message, const std::string& advice) {
  std::fprintf(stderr, "tallyra-agent: %s\n", message.c_str());
  if (!advice.empty()) {
    std::fprintf(stderr, "tallyra-agent: %s\n", advice.c_str());
  }
}

}  // namespace tly::agent
