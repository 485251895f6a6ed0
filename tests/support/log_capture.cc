#include "log_capture.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <ostream>

#include "tallyra/logging.h"

namespace tly::test {
namespace {

std::mutex mutex;
std::vector<LogLine> captured;

void capture(int level, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* text = nullptr;
  const int length = vasprintf(&text, format, arguments);
  va_end(arguments);
  if (length < 0) {
    return;
  }
  const std::lock_guard lock(mutex);
  captured.push_back({level, std::string(text, static_cast<std::size_t>(length))});
  free(text);
}

}  // namespace

LogCapture::LogCapture(unsigned level) {
  clear();
  tly_set_log_func(&capture, level);
}

LogCapture::~LogCapture() { tly_set_log_func(nullptr, 0); }

std::vector<LogLine> LogCapture::lines() const {
  const std::lock_guard lock(mutex);
  return captured;
}

std::vector<std::string> LogCapture::texts(int level) const {
  std::vector<std::string> texts;
  for (const LogLine& line : lines()) {
    if (line.level == level) {
      texts.push_back(line.text);
    }
  }
  return texts;
}

std::size_t LogCapture::count(int level, const std::string& text) const {
  const std::vector<LogLine> all = lines();
  return static_cast<std::size_t>(std::count(all.begin(), all.end(), LogLine{level, text}));
}

void LogCapture::clear() {
  const std::lock_guard lock(mutex);
  captured.clear();
}

void PrintTo(const LogLine& line, std::ostream* stream) {
  *stream << '[' << line.level << "] " << line.text;
}

}  // namespace tly::test
