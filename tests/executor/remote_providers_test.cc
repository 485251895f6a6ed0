#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "common/owned.h"
#include "environment.h"
#include "executor/executor.h"
#include "executor/host_counters.h"
#include "executor/process_events.h"
#include "tallyra/parson.h"

namespace tly::executor {
namespace {

namespace fs = std::filesystem;

// Files as the kernel would show them.
class KernelFiles {
 public:
  void write(const std::string& name, const std::string& content) const {
    fs::create_directories((path() / name).parent_path());
    directory_.write(name, content);
  }
  void process(int pid, const std::string& name, const std::string& state, int threads,
               int start_ticks) const {
    const std::string directory = std::to_string(pid);
    write(directory + "/stat", directory + " (" + name + ") " + state +
                                   " 77 7 7 0 -1 4194304 1 0 0 0 5 6 0 0 20 0 " +
                                   std::to_string(threads) + " 0 " + std::to_string(start_ticks) +
                                   " 1000 10 18446744073709551615\n");
  }
  fs::path path() const { return directory_.path(); }

 private:
  test::TemporaryDirectory directory_;
};

// The values that are not 0, by the schema that the provider sends along.
std::string values_of(HostCounters& host) {
  const OwnedTypeSystem described(
      tly_type_system_deserialize(host.describe().type_system_json.c_str()));
  const std::optional<Bytes> block = host.progress(0);
  if (!described || !block) {
    ADD_FAILURE();
    return {};
  }
  const tly_counters_schema_t* const schema = described->counters_schema;
  EXPECT_EQ(block->size(), sizeof(tly_counters_data_t) + schema->size_of_counters);
  EXPECT_EQ(std::memcmp(block->data(), "TLYD\0\0\0\0", 8), 0);
  std::string values;
  for (std::uint32_t i = 0; i < schema->num_groups; ++i) {
    for (std::uint32_t k = 0; k < schema->groups[i]->num_counters; ++k) {
      const tly_counter_info_t* const counter = schema->groups[i]->counters[k];
      std::uint64_t value = 0;
      std::memcpy(&value, block->data() + sizeof(tly_counters_data_t) + counter->offset,
                  sizeof value);
      if (value != 0) {
        values += std::string(counter->name) + " " + std::to_string(value) + " ";
      }
    }
  }
  return values;
}

TEST(HostCounters, AreTotalsOfTheKernelsFiles) {
  const KernelFiles proc;
  const KernelFiles sys;
  HostCounters host(proc.path(), sys.path());
  EXPECT_EQ(values_of(host), "");

  // An old kernel's files, with lines, devices and columns that do not count.
  proc.write("stat", "cpu  100 2 3 4\ncpu0 1 1 1 1\nintr 50 1 2\nctxt 9000000000\nctxt2 5\n");
  proc.write("meminfo", "MemTotal:  16 kB\nMemFree: -3 kB\nCached:\nSwapFree: 2 kB");
  proc.write(
      "net/dev",
      "Inter-|   Receive\n face |bytes    packets\n"
      "    lo: 9 9 9 9 9 9 9 9 9 9 9 9 9 9 9 9\n"
      "  eth0:11 2 3 4 0 0 0 0 19 10 11 12 0 0 0 0\nwlan1: 1 1 1 1 0 0 0 0 1 1 1 1 0 0 0 0\n");
  proc.write("diskstats",
             "254 0 vda 1 9 2 3 4 9 5 6 7 8 9\n254 1 vda1 1 9 2 3 4 9 5 6 7 8 9\n"
             "7 0 loop0 1 1 1 1 1 1 1 1 1 1 1\n104 0 cciss/c0d0 1 0 1 1 1 0 1 1 1 1 1 1 1 1\n"
             "259 1 nvme0c0n1 1 1 1 1 1 1 1 1 1 1 1\n");
  for (const char* disk : {"vda", "cciss!c0d0", "nvme0c0n1"}) {
    sys.write(std::string("block/") + disk + "/device/model", "");
  }
  sys.write("block/loop0/size", "8\n");
  sys.write("block/vda/hidden", "0\n");
  sys.write("block/nvme0c0n1/hidden", "1\n");
  EXPECT_EQ(values_of(host),
            "cpu:user_ms 1000 cpu:nice_ms 20 cpu:system_ms 30 cpu:idle_ms 40 "
            "cpu:context_switches 9000000000 cpu:interrupts 50 "
            "memory:total_bytes 16384 memory:swap_free_bytes 2048 "
            "network:receive_bytes 12 network:receive_packets 3 network:receive_errors 4 "
            "network:receive_drops 5 network:transmit_bytes 20 network:transmit_packets 11 "
            "network:transmit_errors 12 network:transmit_drops 13 "
            "storage:reads 2 storage:read_bytes 1536 storage:read_ms 4 storage:writes 5 "
            "storage:write_bytes 3072 storage:write_ms 7 storage:in_flight 8 "
            "storage:busy_ms 9 ");
  EXPECT_FALSE(host.progress(1));
}

// The records' events in short; by the schema that the provider sends along.
std::vector<std::string> events_in(const ProcessEvents& provider, const Bytes& records) {
  const OwnedTypeSystem described(
      tly_type_system_deserialize(provider.describe().type_system_json.c_str()));
  const tly_type_definition_t* const type = described->schemas[0]->types[0];
  std::vector<std::string> events;
  for (std::size_t at = 0; at < records.size();) {
    EXPECT_EQ(std::memcmp(&records[at], "TLYE", 4), 0);
    EXPECT_EQ(std::memcmp(&records[at + 12], "\0\0\0", 3), 0);
    const std::size_t end = at + 16 + records[at + 15] * type->size;
    EXPECT_LE(end, records.size());
    for (at += 16; at < end && end <= records.size(); at += type->size) {
      const Owned<JSON_Value, &json_value_free> event(
          tly_type_definition_jsonify_data(type, &records[at]));
      const JSON_Object* const fields = json_object(event.get());
      events.push_back(std::string(json_object_get_string(fields, "kind")) + " " +
                       std::to_string(static_cast<int>(json_object_get_number(fields, "pid"))) +
                       " " + json_object_get_string(fields, "command"));
      EXPECT_EQ(json_object_get_number(fields, "parent_pid"), 77);
    }
  }
  return events;
}

TEST(ProcessEvents, ReportStartsAndEndsBetweenTwoCalls) {
  using Events = std::vector<std::string>;
  const KernelFiles proc;
  proc.process(1, "init", "S", 1, 5);
  proc.process(20, "a) b (c", "R", 1, 500);
  proc.process(21, "waited for", "S", 1, 501);
  proc.process(22, "leader", "S", 2, 502);
  proc.write("stat", "cpu 1 2 3\n");
  ProcessEvents provider(proc.path());
  const auto next = [&] {
    const std::optional<Bytes> records = provider.progress(0);
    return records ? events_in(provider, *records) : Events{"failure"};
  };
  EXPECT_EQ(next(), Events());

  proc.process(20, "next owner", "R", 1, 900);
  proc.process(21, "waited for", "Z", 1, 501);
  proc.process(22, "leader", "Z", 2, 502);
  proc.process(30, "caf\xc3\xa9\n\x01 01234567", "D", 1, 901);
  proc.process(31, "gone already", "Z", 1, 902);
  proc.write("32/stat", "32 (cut");
  proc.write("33/stat", "");
  fs::create_directory(proc.path() / "34");
  EXPECT_EQ(next(), Events({"end 20 a) b (c", "end 21 waited for", "start 20 next owner",
                            "start 30 caf???? 0123456"}));

  // A directory in place of the file stands for what can go wrong while reading.
  fs::remove_all(proc.path() / "30");
  fs::create_directories(proc.path() / "35" / "stat");
  EXPECT_EQ(next(), Events({"failure"}));
  fs::remove_all(proc.path() / "35");
  EXPECT_FALSE(provider.progress(1));
  EXPECT_EQ(next(), Events({"end 30 caf???? 0123456"}));

  for (int pid = 1000; pid < 1600; ++pid) {
    proc.process(pid, "one of many", "S", 1, pid);
  }
  const Events many = next();
  EXPECT_EQ(many.size(), 600U);
  EXPECT_EQ(many.back(), "start 1599 one of many");
  EXPECT_THROW(ProcessEvents(proc.path() / "missing"), std::exception);
}

TEST(Executor, KnowsItsProvidersByNameKindAndId) {
  const test::ScopedEnv source_id("TLY_SOURCE_ID", "node");
  Executor executor;
  for (const char* name : {"process", "", "hosts", "HOST", "host.cpu"}) {
    EXPECT_FALSE(executor.start(ProviderKind::kCounters, name)) << name;
  }
  const auto host = executor.start(ProviderKind::kCounters, "host");
  const auto twin = executor.start(ProviderKind::kCounters, "host");
  const auto process = executor.start(ProviderKind::kEvents, "process");
  ASSERT_TRUE(host && twin && process);
  EXPECT_EQ(process->description.sources.at(0).id, "node");
  EXPECT_EQ(process->description.sources.at(0).tag, "process");
  EXPECT_EQ(process->description.configuration.value().value_64, 1'000'000'000U);
  EXPECT_NE(host->remote_id, twin->remote_id);
  EXPECT_EQ(executor.terminate(host->remote_id), 0);
  EXPECT_EQ(executor.terminate(host->remote_id), -1);
  EXPECT_FALSE(executor.progress(host->remote_id, 0));
  EXPECT_TRUE(executor.progress(twin->remote_id, 0));
}

}  // namespace
}  // namespace tly::executor
