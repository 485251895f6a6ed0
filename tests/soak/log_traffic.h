// Logging from several threads while another changes where the lines go.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

#include "common/log.h"

namespace tly::test {

using Count = std::atomic<std::uint64_t>;
inline Count log_lines, sink_changes, torn_lines, failed_calls;

// Lines at error level are always admitted: each must arrive, once, at one of the sinks.
inline Count errors_sent, errors_received;

inline void check(bool holds, Count& faults) { faults += holds ? 0 : 1; }

using Deadline = std::chrono::steady_clock::time_point;

inline bool is_before(Deadline end) { return std::chrono::steady_clock::now() < end; }

// A message of write_lines() is one letter many times, and follows time and level in its line. The
// library's own messages are passed over.
inline void receive(std::string_view line, bool is_error = false) {
  constexpr std::string_view kOpening = "soak ";
  constexpr std::string_view kClosing = " end";
  constexpr std::string_view kHead = "[yyyy-mm-dd hh:mm:ss.mmm] [level] ";
  const std::size_t opening = line.find(kOpening);
  if (opening == line.npos) {
    return;
  }
  const std::string_view letters = line.substr(opening + kOpening.size());
  check((opening == 0 || opening == kHead.size()) && letters.ends_with(kClosing) &&
            letters.find_first_not_of(letters[0]) == letters.size() - kClosing.size(),
        torn_lines);
  ++log_lines;
  errors_received += is_error || line.substr(0, opening).ends_with("[error] ") ? 1 : 0;
}

TLY_PRINTF(2, 3) inline void receive_call(int level, const char* format, ...) {
  char message[512];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(message, sizeof message, format, arguments);
  va_end(arguments);
  receive(message, level == TLY_LOG_LEVEL_ERROR);
}

// A stream that counts each line, with which the logger flushes. Never closed: the library may log
// up to the end of the process.
inline FILE* receiving_stream() {
  const auto receive_write = [](void*, const char* text, std::size_t size) {
    receive({text, size - 1});
    return static_cast<ssize_t>(size);
  };
  static FILE* const stream = fopencookie(nullptr, "w", {nullptr, receive_write, nullptr, nullptr});
  return stream;
}

inline void write_lines(Deadline end, char letter) {
  const std::string letters(300, letter);
  for (int length = 1; is_before(end); length = length % 300 + 1) {
    TLY_LOG_ERROR("soak %.*s end", length, letters.c_str());
    TLY_LOG_DEBUG("soak %.*s end", length, letters.c_str());
    ++errors_sent;
    if (length % 10 == 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
}

inline void change_levels() {
  for (const std::uint32_t level : {7U, 3U, 6U, 4U}) {
    tly_set_log_level(level);
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
  }
  ++sink_changes;
}

// A file, standard error, a function.
inline void change_sinks(Deadline end, const std::string& path) {
  while (is_before(end)) {
    check(tly_init_file_logger(path.c_str(), TLY_LOG_LEVEL_DEBUG), failed_calls);
    change_levels();
    tly_close_logger();
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
      receive(line);
    }
    check(tly_init_stderr_logger(TLY_LOG_LEVEL_DEBUG), failed_calls);
    change_levels();
    tly_set_log_func(&receive_call, TLY_LOG_LEVEL_DEBUG);
    change_levels();
    tly_set_log_func(nullptr, TLY_LOG_LEVEL_DEBUG);
  }
}

// The same by registration, which the library does not go back from.
inline void change_registered_sinks(Deadline end, const std::string& path) {
  static pthread_mutex_t mutexes[] = {PTHREAD_MUTEX_INITIALIZER, PTHREAD_MUTEX_INITIALIZER};
  const tly_logger_ctx_t contexts[] = {
      {TLY_LOGGER_FILE, receiving_stream(), nullptr, TLY_LOG_LEVEL_DEBUG, &mutexes[0]},
      {TLY_LOGGER_FUNC, nullptr, &receive_call, TLY_LOG_LEVEL_DEBUG, &mutexes[1]},
      {TLY_LOGGER_STDERR, stderr, nullptr, TLY_LOG_LEVEL_DEBUG, nullptr}};
  while (is_before(end)) {
    for (const tly_logger_ctx_t& context : contexts) {
      tly_set_log_func(nullptr, TLY_LOG_LEVEL_ERROR);
      check(tly_register_logger(&context), failed_calls);
      check(!tly_init_file_logger(path.c_str(), TLY_LOG_LEVEL_DEBUG), failed_calls);
      change_levels();
    }
  }
}

}  // namespace tly::test
