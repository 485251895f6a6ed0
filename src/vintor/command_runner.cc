#include "vintor/command_runner.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "common/log.h"
#include "common/owned.h"
#include "common/settings_number.h"
#include "tallyra/rpe_mediator.h"
#include "tallyra/settings.h"
#include "vintor/tool.h"

namespace vintor::collector {
namespace {

constexpr std::int32_t kDefaultTimeout = 30;

bool runs_in_container() {
  static const bool decision =
      tly_getenv_bool("DOCKER_ENV", false) || tly_getenv_bool("TLY_RUN_IN_DOCKER", false);
  return decision;
}

// In the unit of the command service.
std::uint32_t command_timeout() {
  static const auto timeout =
      static_cast<std::uint32_t>(tly::setting_as_int32("VINTOR_COMMAND_TIMEOUT", kDefaultTimeout));
  return timeout;
}

void close_pipe(FILE* pipe) { pclose(pipe); }

// Each piece of at most 4095 bytes counts up to its first NUL byte.
std::string read_to_end(FILE* pipe) {
  std::string text;
  char piece[4096];
  std::size_t used = sizeof piece;
  while (true) {
    // A read that a signal interrupts leaves the bytes it already took in the buffer, unterminated,
    // so the buffer is all zero before each read.
    std::memset(piece, 0, used);
    const bool has_piece = std::fgets(piece, sizeof piece, pipe) != nullptr;
    const bool was_interrupted = !has_piece && std::ferror(pipe) != 0 && errno == EINTR;
    if (!has_piece && !was_interrupted) {
      return text;
    }
    if (was_interrupted) {
      std::clearerr(pipe);
    }
    const std::size_t length = std::strlen(piece);
    text.append(piece, length);
    // Behind a NUL byte of the output there may be more, up to the end of the line.
    const bool is_whole_line = length > 0 && piece[length - 1] == '\n';
    used = is_whole_line ? length + 1 : sizeof piece;
  }
}

bool run_in_shell(const char* command, char** output, std::uint64_t* length) {
  const std::string command_line = std::string(command) + " 2>&1";
  // Close-on-exec: no other child of the host shall hold the pipe open.
  tly::Owned<FILE, &close_pipe> pipe(popen(command_line.c_str(), "re"));
  if (!pipe) {
    TLY_LOG_DEBUG("[vintor] Failed to execute command: %s", command);
    return false;
  }
  const std::string text = read_to_end(pipe.get());
  const int status = pclose(pipe.release());
  if (status != 0) {
    TLY_LOG_DEBUG("[vintor] Command execution failed with status: %d", status);
    return false;
  }
  if (length != nullptr) {
    *length = text.size();
  }
  if (output != nullptr) {
    *output = strdup(text.c_str());
    if (*output == nullptr) {
      TLY_LOG_DEBUG("[vintor] Failed to allocate memory for the output string");
      return false;
    }
  }
  return true;
}

}  // namespace

bool execute_command(const char* command, char** output, std::uint64_t* length) {
  if (output != nullptr) {
    *output = nullptr;
  }
  if (length != nullptr) {
    *length = 0;
  }
  if (runs_in_container()) {
    return rpe_mediator_run_command(command, true, command_timeout(), output, length);
  }
  return run_in_shell(command, output, length);
}

bool is_available() {
  const bool is_listed = execute_command(kToolListCommand, nullptr, nullptr);
  if (!is_listed) {
    TLY_LOG_DEBUG("[vintor] Could not find '%s'", kToolPath);
  }
  return is_listed;
}

}  // namespace vintor::collector
