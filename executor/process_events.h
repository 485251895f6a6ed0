// The provider "process": starts and ends of processes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "executor/library_records.h"
#include "executor/process_scan.h"
#include "executor/provider.h"

namespace tly::executor {

// An event as it is delivered. The texts end with a NUL.
struct ProcessEvent {
  // Microseconds since the epoch: of a start, when the process started, to a tick of the kernel's
  // clock; of an end, when the process was found to be gone.
  std::uint64_t time_us;
  std::int32_t pid;
  std::int32_t parent_pid;
  char kind[8];  // "start" or "end"
  char command[16];
};

// Events come from comparing the processes of two calls, so a process that starts and ends between
// two calls is not seen, and an exec shows in the name of the end only. The first call compares
// with the processes there were when the provider was made. Ends come before starts, since an
// id may have gone from one process to the next. A process has ended when it runs no more, also
// when its parent has not yet asked for its status.
class ProcessEvents final : public Provider {
 public:
  // The directory of the kernel's files. Throws when it cannot be read.
  explicit ProcessEvents(std::string proc = "/proc");

  Description describe() const override;
  // A call that fails misses nothing: the next one compares with the same processes.
  std::optional<Bytes> progress(std::uint16_t source_index) override;

 private:
  std::optional<Bytes> serialize(const std::vector<ProcessEvent>& events) const;

  std::string proc_;
  OwnedTypeSystem type_system_;
  std::uint8_t schema_index_ = 0;
  std::uint8_t type_index_ = 0;
  std::vector<Process> processes_;  // of the last call
};

}  // namespace tly::executor
