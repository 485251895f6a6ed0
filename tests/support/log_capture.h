// Collects the library's log messages for a test.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tly::test {

struct LogLine {
  int level;
  std::string text;
  bool operator==(const LogLine&) const = default;
};

// While alive, receives every message that the level admits through the log function. One at a
// time.
class LogCapture {
 public:
  explicit LogCapture(unsigned level = 7);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<LogLine> lines() const;
  std::vector<std::string> texts(int level) const;
  std::size_t count(int level, const std::string& text) const;
  void clear();
};

void PrintTo(const LogLine& line, std::ostream* stream);

}  // namespace tly::test
