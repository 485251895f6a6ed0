// The agent's log sink, which it lends to the library. What the library logs is made printable on
// its way there: messages quote names from outside.
#pragma once

#include <pthread.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <string>
#include <vector>

#include "host/plugin.h"

namespace tly::agent {

enum class LogSink {
  kStandardError,
  kFile,
  // Lines are held back and shown at the end, so that they do not spoil a screen.
  kHeld
};

struct LoggedMessages {
  const char* level;
  std::uint64_t count;
};

// Must outlive the Plugin it is registered with: the library logs until it is unloaded. One per
// process.
class HostLogger {
 public:
  // The path is for kFile only; lines are appended to it. Throws Failure when it cannot be opened.
  HostLogger(LogSink sink, std::uint32_t level, const std::string& path);
  // Prints the held lines to standard error.
  ~HostLogger();
  HostLogger(const HostLogger&) = delete;
  HostLogger& operator=(const HostLogger&) = delete;

  // Throws Failure when the library refuses.
  void register_with(const Plugin& plugin);

  // What is logged is counted; from now on also errors and warnings that the level does not show.
  // For a registered logger.
  void count_warnings() const;
  // Any thread may call.
  std::vector<LoggedMessages> logged_messages() const;

  // Nothing is logged from now on. Ctrl-C reaches the library's tool as well: that the tool fails
  // then is no news.
  void silence() const;

  // The newest held line, or nothing.
  std::string last_held_line();

 private:
  static ssize_t write_held(void* cookie, const char* characters, std::size_t length);
  void hold(std::string_view characters);
  static void take(int level, const char* format, ...) TLY_PRINTF(2, 3);

  LogSink sink_;
  const Plugin* plugin_ = nullptr;  // where this logger is registered
  std::uint32_t level_;
  std::FILE* stream_ = stderr;
  // Guards the stream and, through it, what is held.
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
  std::string unfinished_line_;
  std::deque<std::string> held_lines_;
  std::array<std::atomic<std::uint64_t>, TLY_LOG_LEVEL_DEBUG + 1> counts_{};  // by level
};

}  // namespace tly::agent
