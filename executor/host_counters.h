// The provider "host": totals of this machine's processors, memory, network and storage.
#pragma once

#include <string>
#include <vector>

#include "executor/library_records.h"
#include "executor/provider.h"

namespace tly::executor {

// The counters, all unsigned, come from the kernel's files stat, meminfo, net/dev and diskstats:
//  - network totals are over all interfaces of the network namespace but "lo", so that traffic
//    through a bridge or a bond counts on it and on its member;
//  - storage totals are over the disks with a device behind them: no partitions, and no disks that
//    are made of others or of memory (loop, ram, zram, dm, md);
//  - a file, line or column that is missing, as on an older kernel, counts 0 and fails nothing. A
//    total falls when an interface or a disk goes away.
class HostCounters final : public Provider {
 public:
  // The directories of the kernel's files.
  explicit HostCounters(std::string proc = "/proc", std::string sys = "/sys");

  Description describe() const override;
  std::optional<Bytes> progress(std::uint16_t source_index) override;

 private:
  bool is_whole_disk(std::string_view name) const;
  std::vector<std::uint64_t> totals_of(std::size_t group_index);

  std::string proc_;
  std::string sys_;
  OwnedTypeSystem type_system_;
  std::string content_;  // of the file being read
};

}  // namespace tly::executor
