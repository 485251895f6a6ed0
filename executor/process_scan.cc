#include "executor/process_scan.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include "executor/descriptor.h"
#include "executor/kernel_files.h"

namespace tly::executor {
namespace {

// Words after the command name.
constexpr std::size_t kState = 0;
constexpr std::size_t kParentPid = 1;
constexpr std::size_t kThreads = 17;
constexpr std::size_t kStartTicks = 19;

class Directory {
 public:
  explicit Directory(const std::string& path) : stream_(opendir(path.c_str())) {}
  ~Directory() {
    if (stream_ != nullptr) {
      const CancellationHold hold;
      closedir(stream_);
    }
  }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;

  bool is_open() const { return stream_ != nullptr; }
  int number() const { return dirfd(stream_); }

  // Null at the end, with errno 0, and on failure.
  const char* next_name() {
    errno = 0;
    const dirent* const entry = readdir(stream_);
    return entry != nullptr ? entry->d_name : nullptr;
  }

 private:
  DIR* stream_;
};

bool is_out_of_sight(int error) {
  return error == ENOENT || error == ESRCH || error == EACCES || error == EPERM;
}

std::array<char, 16> printable_command(std::string_view name) {
  std::array<char, 16> command = {};
  std::transform(name.begin(), name.begin() + std::min(name.size(), command.size() - 1),
                 command.begin(), [](char c) { return c >= ' ' && c <= '~' ? c : '?'; });
  return command;
}

}  // namespace

std::optional<Process> parse_process(std::string_view stat_line) {
  // The name may hold blanks and parentheses itself, even line ends.
  const std::size_t open = stat_line.find('(');
  const std::size_t close = stat_line.rfind(')');
  if (open == std::string_view::npos || close == std::string_view::npos || close < open) {
    return std::nullopt;
  }
  const Words words(stat_line.substr(close + 1));
  Process process;
  process.pid = static_cast<std::int32_t>(Words(stat_line.substr(0, open)).number(0));
  process.parent_pid = static_cast<std::int32_t>(words.number(kParentPid));
  process.start_ticks = words.number(kStartTicks);
  process.command = printable_command(stat_line.substr(open + 1, close - open - 1));
  // While other threads run, a process goes on although its first thread has ended.
  const bool has_ended =
      (words.text(kState) == "Z" || words.text(kState) == "X") && words.number(kThreads) <= 1;
  if (process.pid <= 0 || words.text(kStartTicks).empty() || has_ended) {
    return std::nullopt;
  }
  return process;
}

std::optional<std::vector<Process>> scan_processes(const std::string& proc) {
  Directory directory(proc);
  if (!directory.is_open()) {
    return std::nullopt;
  }
  std::vector<Process> processes;
  std::string line;
  while (const char* const name = directory.next_name()) {
    if (*name < '1' || *name > '9') {
      continue;
    }
    if (!read_kernel_file_at(directory.number(), (std::string(name) + "/stat").c_str(), line)) {
      if (!is_out_of_sight(errno)) {
        return std::nullopt;
      }
      continue;
    }
    if (const std::optional<Process> process = parse_process(line)) {
      processes.push_back(*process);
    }
  }
  if (errno != 0) {
    return std::nullopt;
  }
  std::sort(processes.begin(), processes.end());
  return processes;
}

}  // namespace tly::executor
