#include "executor/process_events.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <iterator>
#include <stdexcept>

#include "common/clock.h"
#include "executor/kernel_files.h"
#include "tallyra/data_serializer.h"
#include "tallyra/sources.h"
#include "tallyra/version.h"

namespace tly::executor {
namespace {

constexpr char kName[] = "process";
constexpr char kDescription[] = "Starts and ends of processes of this machine";
constexpr std::uint64_t kUsPerSecond = 1'000'000;
constexpr std::size_t kMaxEventsPerRecord = 255;

// An agent loses few short-lived processes, at little cost, when it asks this often.
constexpr std::uint64_t kSuggestedIntervalNs = 1'000'000'000;

constexpr tly_type_field_info_t kFields[] = {
    {"time", "Microseconds since the epoch", "uint64_t", TLY_VALUE_TYPE_ABSOLUTE, 1},
    {"pid", "Process id", "int32_t", TLY_VALUE_TYPE_ABSOLUTE, 1},
    {"parent_pid", "Process id of the parent", "int32_t", TLY_VALUE_TYPE_ABSOLUTE, 1},
    {"kind", "start or end", "char", TLY_VALUE_TYPE_ABSOLUTE, sizeof ProcessEvent::kind},
    {"command", "Command name", "char", TLY_VALUE_TYPE_ABSOLUTE, sizeof ProcessEvent::command},
};

// The schema's fields are packed, and so is the record.
static_assert(sizeof(ProcessEvent) == 40 && offsetof(ProcessEvent, command) == 24);

ProcessEvent make_event(const Process& process, const char* kind, std::uint64_t time_us) {
  ProcessEvent event{time_us, process.pid, process.parent_pid, {}, {}};
  std::strncpy(event.kind, kind, sizeof event.kind - 1);
  std::copy(process.command.begin(), process.command.end(), event.command);
  return event;
}

std::vector<ProcessEvent> changes(const std::vector<Process>& before,
                                  const std::vector<Process>& after) {
  std::vector<Process> ended;
  std::vector<Process> started;
  std::set_difference(before.begin(), before.end(), after.begin(), after.end(),
                      std::back_inserter(ended));
  std::set_difference(after.begin(), after.end(), before.begin(), before.end(),
                      std::back_inserter(started));
  const std::uint64_t scan_us = tly::microseconds_now();
  const std::uint64_t boot_us = scan_us - tly::microseconds_now(CLOCK_BOOTTIME);
  const auto ticks_per_second = static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
  std::vector<ProcessEvent> events;
  events.reserve(ended.size() + started.size());
  for (const Process& process : ended) {
    events.push_back(make_event(process, "end", scan_us));
  }
  for (const Process& process : started) {
    const std::uint64_t since_boot_us = process.start_ticks * kUsPerSecond / ticks_per_second;
    events.push_back(make_event(process, "start", boot_us + since_boot_us));
  }
  return events;
}

}  // namespace

ProcessEvents::ProcessEvents(std::string proc)
    : proc_(std::move(proc)), type_system_(required(tly_create_type_system())) {
  tly_schema_t* const schema = required(
      tly_type_system_add_schema(type_system_.get(), kName, tly_version(), &schema_index_));
  if (tly_schema_add_type(schema, kName, kFields, std::size(kFields), &type_index_) !=
      TLY_SCHEMA_SUCCESS) {
    throw std::bad_alloc();
  }
  std::optional<std::vector<Process>> processes = scan_processes(proc_);
  if (!processes) {
    throw std::runtime_error("the processes cannot be listed");
  }
  processes_ = std::move(*processes);
}

Description ProcessEvents::describe() const {
  const Owned<tly_source_t, &tly_destroy_source> source(required(tly_create_default_source(kName)));
  return {kName,
          kDescription,
          serialized(type_system_.get()),
          {{source->id, source->tag}},
          Configuration{.value_64 = kSuggestedIntervalNs}};
}

std::optional<Bytes> ProcessEvents::progress(std::uint16_t source_index) {
  std::optional<std::vector<Process>> processes;
  if (source_index == 0) {
    processes = scan_processes(proc_);
  }
  if (!processes) {
    return std::nullopt;
  }
  std::optional<Bytes> records = serialize(changes(processes_, *processes));
  if (records) {
    processes_ = std::move(*processes);
  }
  return records;
}

std::optional<Bytes> ProcessEvents::serialize(const std::vector<ProcessEvent>& events) const {
  const std::size_t records = (events.size() + kMaxEventsPerRecord - 1) / kMaxEventsPerRecord;
  Bytes bytes(records * TLY_EVENTS_HEADER_SIZE + events.size() * sizeof(ProcessEvent));
  tly_data_serializer_t serializer{type_system_.get(), bytes.data(), bytes.size(), 0};
  for (std::size_t first = 0; first < events.size(); first += kMaxEventsPerRecord) {
    const auto count =
        static_cast<std::uint8_t>(std::min(kMaxEventsPerRecord, events.size() - first));
    if (tly_data_serializer_write_events(&serializer, schema_index_, type_index_, &events[first],
                                         count) != count) {
      return std::nullopt;
    }
  }
  return bytes;
}

}  // namespace tly::executor
