#include "executor/host_counters.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <span>

#include "executor/kernel_files.h"
#include "tallyra/counter_data.h"
#include "tallyra/counters_schema.h"

namespace tly::executor {
namespace {

constexpr char kName[] = "host";
constexpr char kDescription[] = "Processor, memory, network and storage totals of this machine";

// How a column counts, and in what unit its counter does.
enum Quantity { kCount, kMilliseconds, kTicks, kBytes, kKibibytes, kSectors };

struct Scale {
  std::uint64_t multiplier;
  std::uint64_t divisor;
  const char* unit;
};

Scale scale_of(Quantity quantity) {
  static constexpr Scale kScales[] = {{1, 1, ""},      {1, 1, "ms"},       {1000, 1, "ms"},
                                      {1, 1, "bytes"}, {1024, 1, "bytes"}, {512, 1, "bytes"}};
  Scale scale = kScales[quantity];
  if (quantity == kTicks) {
    scale.divisor = static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
  }
  return scale;
}

enum Evolution : std::uint32_t {
  kGauge = TLY_COUNTING_TYPE_ABSOLUTE,
  kSum = TLY_COUNTING_TYPE_RUNNING_SUM
};

struct Column {
  const char* key;  // the first word of the line; null for each line that the group takes
  std::size_t index;
  Quantity quantity;
  Evolution evolution;
  const char* name;
  const char* description;
};

constexpr Column kCpuColumns[] = {
    {"cpu", 1, kTicks, kSum, "user_ms", "Time in user mode, with guests, over all processors"},
    {"cpu", 2, kTicks, kSum, "nice_ms", "Time in user mode at low priority, with guests"},
    {"cpu", 3, kTicks, kSum, "system_ms", "Time in the kernel"},
    {"cpu", 4, kTicks, kSum, "idle_ms", "Time without work"},
    {"cpu", 5, kTicks, kSum, "iowait_ms", "Time without work while storage was waited for"},
    {"cpu", 6, kTicks, kSum, "irq_ms", "Time in interrupts"},
    {"cpu", 7, kTicks, kSum, "softirq_ms", "Time in soft interrupts"},
    {"cpu", 8, kTicks, kSum, "steal_ms", "Time taken by other guests of the hypervisor"},
    {"cpu", 9, kTicks, kSum, "guest_ms", "Time running guests"},
    {"cpu", 10, kTicks, kSum, "guest_nice_ms", "Time running guests at low priority"},
    {"ctxt", 1, kCount, kSum, "context_switches", "Context switches"},
    {"intr", 1, kCount, kSum, "interrupts", "Interrupts"},
    {"softirq", 1, kCount, kSum, "soft_interrupts", "Soft interrupts"},
    {"processes", 1, kCount, kSum, "processes_created", "Processes and threads created"},
    {"procs_running", 1, kCount, kGauge, "processes_running", "Threads that can run now"},
    {"procs_blocked", 1, kCount, kGauge, "processes_blocked", "Threads that wait for storage now"},
};

constexpr Column kMemoryColumns[] = {
    {"MemTotal", 1, kKibibytes, kGauge, "total_bytes", "Memory that the kernel manages"},
    {"MemFree", 1, kKibibytes, kGauge, "free_bytes", "Memory that nothing uses"},
    {"MemAvailable", 1, kKibibytes, kGauge, "available_bytes", "Memory to be had without swapping"},
    {"Buffers", 1, kKibibytes, kGauge, "buffers_bytes", "Buffers of block devices"},
    {"Cached", 1, kKibibytes, kGauge, "cached_bytes", "Cached files"},
    {"Dirty", 1, kKibibytes, kGauge, "dirty_bytes", "Memory that waits to be written to storage"},
    {"Writeback", 1, kKibibytes, kGauge, "writeback_bytes", "Memory that is being written"},
    {"AnonPages", 1, kKibibytes, kGauge, "anonymous_bytes", "Memory of processes, without files"},
    {"Mapped", 1, kKibibytes, kGauge, "mapped_bytes", "Files mapped into processes"},
    {"Shmem", 1, kKibibytes, kGauge, "shared_bytes", "Shared memory and memory file systems"},
    {"Slab", 1, kKibibytes, kGauge, "slab_bytes", "The kernel's own structures"},
    {"PageTables", 1, kKibibytes, kGauge, "page_tables_bytes", "Page tables"},
    {"SwapTotal", 1, kKibibytes, kGauge, "swap_total_bytes", "Swap space"},
    {"SwapFree", 1, kKibibytes, kGauge, "swap_free_bytes", "Swap space that nothing uses"},
};

constexpr Column kNetworkColumns[] = {
    {nullptr, 1, kBytes, kSum, "receive_bytes", "Bytes received"},
    {nullptr, 2, kCount, kSum, "receive_packets", "Packets received"},
    {nullptr, 3, kCount, kSum, "receive_errors", "Errors while receiving"},
    {nullptr, 4, kCount, kSum, "receive_drops", "Received packets dropped"},
    {nullptr, 9, kBytes, kSum, "transmit_bytes", "Bytes sent"},
    {nullptr, 10, kCount, kSum, "transmit_packets", "Packets sent"},
    {nullptr, 11, kCount, kSum, "transmit_errors", "Errors while sending"},
    {nullptr, 12, kCount, kSum, "transmit_drops", "Packets dropped before sending"},
};

constexpr Column kStorageColumns[] = {
    {nullptr, 3, kCount, kSum, "reads", "Reads done"},
    {nullptr, 5, kSectors, kSum, "read_bytes", "Bytes read"},
    {nullptr, 6, kMilliseconds, kSum, "read_ms", "Time of all reads"},
    {nullptr, 7, kCount, kSum, "writes", "Writes done"},
    {nullptr, 9, kSectors, kSum, "write_bytes", "Bytes written"},
    {nullptr, 10, kMilliseconds, kSum, "write_ms", "Time of all writes"},
    {nullptr, 11, kCount, kGauge, "in_flight", "Reads and writes under way"},
    {nullptr, 12, kMilliseconds, kSum, "busy_ms", "Time with something under way, disk by disk"},
};

enum class Lines { kAll, kInterfaces, kDisks };

struct Group {
  const char* name;
  const char* file;
  Lines lines;
  std::span<const Column> columns;
};

constexpr Group kGroups[] = {{"cpu", "/stat", Lines::kAll, kCpuColumns},
                             {"memory", "/meminfo", Lines::kAll, kMemoryColumns},
                             {"network", "/net/dev", Lines::kInterfaces, kNetworkColumns},
                             {"storage", "/diskstats", Lines::kDisks, kStorageColumns}};

constexpr std::size_t kDiskNameIndex = 2;

bool is_interface(std::string_view line, const Words& words) {
  return line.find(':') != std::string_view::npos && words.text(0) != "lo";
}

using OwnedGroup = Owned<tly_counter_group_t, &tly_free_counter_group>;

void add_counter(tly_counter_group_t* group, const Column& column, std::uint32_t id) {
  std::string name = std::string(group->name) + ":" + column.name;
  std::string description = column.description;
  std::string units = scale_of(column.quantity).unit;
  tly_counter_info_t counter{};
  counter.id = id;
  counter.name = name.data();
  counter.description = description.data();
  counter.units = units.data();
  counter.data_type = TLY_DATA_TYPE_UINT64;
  counter.counting_type = column.evolution;
  counter.length = sizeof(tly_counter_value_t);
  if (!tly_add_counter_to_group(group, &counter)) {
    throw std::bad_alloc();
  }
}

OwnedTypeSystem make_type_system() {
  OwnedTypeSystem type_system(required(tly_create_type_system()));
  tly_counters_schema_t* const schema = type_system->counters_schema;
  std::uint32_t next_id = 0;
  for (const Group& group : kGroups) {
    OwnedGroup record(required(allocate_zeroed<tly_counter_group_t>()).release());
    record->granularity = TLY_GRANULARITY_NODE;
    record->num_counter_sets = 1;
    record->name = required(strdup(group.name));
    record->provider_name = required(strdup(kName));
    for (const Column& column : group.columns) {
      add_counter(record.get(), column, next_id++);
    }
    if (!tly_counters_schema_append_group(schema, record.get())) {
      throw std::bad_alloc();
    }
    static_cast<void>(record.release());
  }
  tly_counters_schema_update_counter_offsets(schema);
  return type_system;
}

}  // namespace

HostCounters::HostCounters(std::string proc, std::string sys)
    : proc_(std::move(proc)), sys_(std::move(sys)), type_system_(make_type_system()) {}

Description HostCounters::describe() const {
  return {kName, kDescription, serialized(type_system_.get()), {}, {}};
}

std::optional<Bytes> HostCounters::progress(std::uint16_t source_index) {
  if (source_index != 0) {
    return std::nullopt;
  }
  const tly_counters_schema_t* const schema = type_system_->counters_schema;
  Bytes block(sizeof(tly_counters_data_t) + tly_counters_schema_size_of_counters(schema));
  // A vector's storage is aligned for every record.
  auto* const data = reinterpret_cast<tly_counters_data_t*>(block.data());
  tly_counters_data_reset(data);
  std::uint8_t* const values = block.data() + sizeof *data;
  for (std::size_t i = 0; i < std::size(kGroups); ++i) {
    const std::vector<std::uint64_t> totals = totals_of(i);
    for (std::size_t k = 0; k < totals.size(); ++k) {
      std::memcpy(values + schema->groups[i]->counters[k]->offset, &totals[k], sizeof totals[k]);
    }
  }
  return block;
}

bool HostCounters::is_whole_disk(std::string_view name) const {
  std::string entry(name);
  std::replace(entry.begin(), entry.end(), '/', '!');  // as in cciss/c0d0
  const std::string directory = sys_ + "/block/" + entry;
  std::string hidden;  // a path to a disk that is listed itself
  return access((directory + "/device").c_str(), F_OK) == 0 &&
         !(read_kernel_file(directory + "/hidden", hidden) && hidden.starts_with('1'));
}

std::vector<std::uint64_t> HostCounters::totals_of(std::size_t group_index) {
  const Group& group = kGroups[group_index];
  std::vector<std::uint64_t> totals(group.columns.size());
  if (!read_kernel_file(proc_ + group.file, content_)) {
    return totals;
  }
  std::string_view text = content_;
  for (std::string_view line; take_line(text, line);) {
    const Words words(line);
    if ((group.lines == Lines::kInterfaces && !is_interface(line, words)) ||
        (group.lines == Lines::kDisks && !is_whole_disk(words.text(kDiskNameIndex)))) {
      continue;
    }
    for (std::size_t k = 0; k < totals.size(); ++k) {
      const Column& column = group.columns[k];
      if (column.key == nullptr || words.text(0) == column.key) {
        totals[k] += words.number(column.index);
      }
    }
  }
  for (std::size_t k = 0; k < totals.size(); ++k) {
    const Scale scale = scale_of(group.columns[k].quantity);
    totals[k] = totals[k] * scale.multiplier / scale.divisor;
  }
  return totals;
}

}  // namespace tly::executor
