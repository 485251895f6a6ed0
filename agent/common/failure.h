// How the agent fails: a message, a piece of advice and the exit status that goes with them.
#pragma once

#include <cstdio>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/text.h"

namespace tly::agent {

enum class ExitCode : int {
  kSuccess = 0,
  kFailure = 1,     // anything without a status of its own
  kUsage = 2,       // the command line is wrong
  kLibrary = 3,     // the library or the client cannot be loaded, or lacks a function
  kProvider = 4,    // there is no provider: the tool is missing or unusable, no remote one starts
  kSelection = 5,   // nothing is enabled, or a pattern matches nothing
  kNoSample = 6,    // no sample arrived in time
  kSchemaFile = 7,  // a schema file cannot be read, written or understood
  kPartial = 8,     // something was left out, the rest is done
  kListen = 9       // nobody can listen on the address
};

// The message is what is wrong, the advice what to do about it.
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

// Prints what is wrong to standard error, and what to do about it. Either may quote any text.
inline void report(std::string_view message, std::string_view advice) noexcept {
  try {
    for (const std::string_view text : {message, advice}) {
      if (!text.empty()) {
        std::fprintf(stderr, "tallyra-agent: %s\n", printable(text).c_str());
      }
    }
  } catch (const std::bad_alloc&) {
    std::fputs("tallyra-agent: out of memory\n", stderr);
  }
}

// What is left out of a command that otherwise goes on.
class Omissions {
 public:
  Omissions() = default;
  ~Omissions() {
    for (const Failure& reason : held_) {
      report(reason.what(), reason.advice());
    }
  }
  Omissions(const Omissions&) = delete;
  Omissions& operator=(const Omissions&) = delete;

  // From now on the reasons are reported at the end, so that they do not spoil a screen.
  void hold_back() { is_holding_ = true; }

  void add(const Failure& reason) {
    has_any_ = true;
    if (is_holding_) {
      held_.push_back(reason);
    } else {
      report(reason.what(), reason.advice());
    }
  }

  // The status of a command that ended with this one.
  int status(int of_the_rest) const {
    return has_any_ && of_the_rest == 0 ? static_cast<int>(ExitCode::kPartial) : of_the_rest;
  }

 private:
  bool has_any_ = false;
  bool is_holding_ = false;
  std::vector<Failure> held_;
};

}  // namespace tly::agent
