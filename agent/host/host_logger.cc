#include "host/host_logger.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <string_view>

#include "common/failure.h"
#include "common/text.h"

namespace tly::agent {
namespace {

constexpr std::size_t kMostHeldLines = 50;

// The library hands its messages to a function alone, without anything of the host's.
std::atomic<HostLogger*> registered_logger = nullptr;

struct LevelName {
  std::uint32_t level;
  const char* name;
};

constexpr LevelName kCountedLevels[] = {{TLY_LOG_LEVEL_ERROR, "error"},
                                        {TLY_LOG_LEVEL_WARNING, "warning"},
                                        {TLY_LOG_LEVEL_INFO, "info"},
                                        {TLY_LOG_LEVEL_DEBUG, "debug"}};

// Some messages end with a newline of their own.
std::string line_of(std::string_view message) {
  message.remove_suffix(message.ends_with('\n') ? 1 : 0);
  return printable(message);
}

}  // namespace

HostLogger::HostLogger(LogSink sink, std::uint32_t level, const std::string& path)
    : sink_(sink), level_(level) {
  if (sink == LogSink::kFile) {
    stream_ = std::fopen(path.c_str(), "ae");
    if (stream_ == nullptr) {
      throw Failure(ExitCode::kFailure,
                    "cannot open the log file " + path + ": " + std::strerror(errno),
                    "give --log-file a path that can be written, or leave it out");
    }
  } else if (sink == LogSink::kHeld) {
    const cookie_io_functions_t functions = {nullptr, &write_held, nullptr, nullptr};
    stream_ = fopencookie(this, "w", functions);
    if (stream_ == nullptr) {
      throw Failure(ExitCode::kFailure,
                    std::string("cannot set up the log: ") + std::strerror(errno));
    }
  }
}

HostLogger::~HostLogger() {
  registered_logger = nullptr;
  if (stream_ != stderr) {
    std::fclose(stream_);
  }
  for (const std::string& line : held_lines_) {
    std::fprintf(stderr, "%s\n", line.c_str());
  }
  pthread_mutex_destroy(&mutex_);
}

void HostLogger::register_with(const Plugin& plugin) {
  tly_logger_ctx_t context{};
  context.kind = sink_ == LogSink::kStandardError ? TLY_LOGGER_STDERR : TLY_LOGGER_FILE;
  context.stream = stream_;
  context.level = level_;
  context.mutex = &mutex_;
  bool is_accepted = plugin.tly_register_logger(&context);
  plugin_ = &plugin;
  registered_logger = this;
  // The stream stays: take() has the library write to it.
  context.kind = TLY_LOGGER_FUNC;
  context.stream = nullptr;
  context.log_func = &take;
  is_accepted = is_accepted && plugin.tly_register_logger(&context);
  if (!is_accepted) {
    throw Failure(ExitCode::kFailure, plugin.path() + " refuses the agent's logger",
                  "use a library and an agent of the same version");
  }
}

void HostLogger::count_warnings() const {
  plugin_->tly_set_log_level(std::max<std::uint32_t>(level_, TLY_LOG_LEVEL_WARNING));
}

// Any thread may log. A message for which there is no memory is only counted.
void HostLogger::take(int level, const char* format, ...) {
  HostLogger* const logger = registered_logger;
  const auto index = static_cast<std::size_t>(level);
  if (logger == nullptr || index >= logger->counts_.size()) {
    return;
  }
  ++logger->counts_[index];
  if (index > logger->level_) {
    return;
  }
  const int saved_errno = errno;
  va_list arguments;
  va_start(arguments, format);
  char* text = nullptr;
  const int length = vasprintf(&text, format, arguments);
  va_end(arguments);
  const std::unique_ptr<char, decltype(&std::free)> owned(length < 0 ? nullptr : text, &std::free);
  try {
    if (owned) {
      logger->plugin_->_tly_log(level, "%s", line_of(owned.get()).c_str());
    }
  } catch (const std::exception&) {
  }
  errno = saved_errno;
}

std::vector<LoggedMessages> HostLogger::logged_messages() const {
  std::vector<LoggedMessages> messages;
  for (const LevelName& counted : kCountedLevels) {
    messages.push_back({counted.name, counts_[counted.level]});
  }
  return messages;
}

void HostLogger::silence() const {
  if (plugin_ != nullptr) {
    plugin_->tly_set_log_level(0);
  }
}

std::string HostLogger::last_held_line() {
  pthread_mutex_lock(&mutex_);
  std::string line = held_lines_.empty() ? std::string() : held_lines_.back();
  pthread_mutex_unlock(&mutex_);
  return line;
}

// Called by the stream when it is flushed, with the mutex held.
ssize_t HostLogger::write_held(void* cookie, const char* characters, std::size_t length) {
  try {
    static_cast<HostLogger*>(cookie)->hold({characters, length});
    return static_cast<ssize_t>(length);
  } catch (const std::exception&) {
    return 0;
  }
}

void HostLogger::hold(std::string_view characters) {
  for (const char c : characters) {
    if (c != '\n') {
      unfinished_line_ += c;
      continue;
    }
    held_lines_.push_back(std::move(unfinished_line_));
    unfinished_line_.clear();
    if (held_lines_.size() > kMostHeldLines) {
      held_lines_.pop_front();
    }
  }
}

}  // namespace tly::agent
