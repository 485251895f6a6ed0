// What the threads of the soak did, counted.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace tly::test {

struct Figure {
  const char* name;
  std::atomic<std::uint64_t> count;
};

inline Figure reads{"reads", 0};
inline Figure collector_cycles{"start/stop cycles of the collector", 0};
inline Figure provider_cycles{"provider cycles", 0};
inline Figure remote_reads{"remote reads", 0};
inline Figure commands{"commands", 0};
inline Figure ended_commands{"commands ended at their limit", 0};
inline Figure log_lines{"log lines", 0};
inline Figure sink_changes{"changes of the log's sink", 0};

inline Figure torn_reads{"torn reads", 0};
inline Figure wrong_commands{"wrong commands", 0};
inline Figure torn_lines{"torn log lines", 0};
inline Figure failed_calls{"failed calls", 0};

inline void check(bool holds, Figure& fault) { fault.count += holds ? 0 : 1; }

using Deadline = std::chrono::steady_clock::time_point;

inline bool is_before(Deadline end) { return std::chrono::steady_clock::now() < end; }

}  // namespace tly::test
