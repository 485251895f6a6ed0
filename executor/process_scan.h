// The processes that run now.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tly::executor {

struct Process {
  std::int32_t pid = 0;
  std::int32_t parent_pid = 0;
  std::uint64_t start_ticks = 0;      // since boot
  std::array<char, 16> command = {};  // ends with a NUL; printable ASCII, '?' for any other byte
};

// An id is given again, but not twice within a tick.
inline auto operator<=>(const Process& a, const Process& b) {
  return a.pid != b.pid ? a.pid <=> b.pid : a.start_ticks <=> b.start_ticks;
}

// A process from the line of its stat file. Nullopt for what is no such line, and for a process
// that has ended and is only kept for its parent.
std::optional<Process> parse_process(std::string_view stat_line);

// All processes in ascending order, from the directory of the kernel's files. One that ends during
// the scan, or that the kernel does not show to this user, is left out. Nullopt when the scan could
// not be made: what it lacked would seem to have ended.
std::optional<std::vector<Process>> scan_processes(const std::string& proc);

}  // namespace tly::executor
