// Everything that threads share, used at once for TALLYRA_SOAK_SECONDS. Nothing may be torn, lost
// or left behind.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <bit>
#include <iterator>
#include <set>
#include <vector>

#include "allocation_failure.h"
#include "log_traffic.h"
#include "records.h"
#include "sanitizers.h"
#include "tallyra/dictionary.h"
#include "tallyra/rpe_mediator.h"
#include "tallyra/vintor_provider.h"
#include "tool_shim.h"

namespace tly::test {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kGenerations = 8;
constexpr std::size_t kGroups = 3;
constexpr std::size_t kCounters = 256;  // of each group
constexpr std::uint64_t kUntouched = 0xA5A5A5A5A5A5A5A5;

Count generations_read;  // a bit each
Count reads, collector_cycles, provider_cycles, remote_reads, commands, ended_commands;
Count torn_reads, wrong_commands;

// All counters of a sample have the same value. A bad sample, cut in its last section, follows the
// last generation.
void make_tool(ToolShim& shim) {
  for (std::uint64_t generation = 0; generation <= kGenerations; ++generation) {
    std::string body;
    for (std::size_t i = 0; i < kCounters; ++i) {
      body += (i == 0 ? "\"c" : ",\"c") + std::to_string(i) + "\":" + std::to_string(generation);
    }
    std::string output;
    for (const char* section : {"pmc_res", "pmc_res_bw", "pmc_res_bw_agg"}) {
      output += std::string("=== ") + section + " ===\n{\"i\":{";
      output += body;
      output += "}}\n";
    }
    output.resize(output.size() - (generation < kGenerations ? 0 : 2));
    shim.write("generation." + std::to_string(generation), output);
  }
  shim.write("count", "0\n");
  shim.behave(R"(read -r n < "$shim/count"; n=$(((n + 1) % 9)); echo $n > "$shim/count"
exec cat "$shim/generation.$n")");
}

// A started group for each component, laid out back to back.
CountersSchemaPtr start_groups(tly_provider_t* provider) {
  CountersSchemaPtr schema(tly_create_counters_schema());
  for (int i = 0; i < provider->num_components; ++i) {
    const tly_component_t* const component = provider->components[i];
    tly_counter_group_t* const group = tly_create_counter_group(provider, component);
    for (int k = 0; k < component->num_counters; ++k) {
      check(tly_add_counter_to_group(group, component->counters[k]), failed_calls);
    }
    check(tly_counters_schema_append_group(schema.get(), group), failed_calls);
  }
  tly_counters_schema_update_counter_offsets(schema.get());
  for (std::uint32_t i = 0; i < schema->num_groups; ++i) {
    check(tly_start_counting_group(schema->groups[i]), failed_calls);
  }
  return schema;
}

// Each group must show one whole generation or, before the first sample, nothing.
void read_sample(const CountersSchemaPtr& schema) {
  std::array<std::uint64_t, kGroups * kCounters> area;
  area.fill(kUntouched);
  for (std::uint32_t i = 0; i < schema->num_groups; ++i) {
    tly_counter_group_t* const group = schema->groups[i];
    check(group->read_callback(group, reinterpret_cast<tly_counter_value_t*>(area.data())) &&
              group->num_counters == kCounters,
          failed_calls);
    const std::uint64_t* const begin = &area[i * kCounters];
    check(std::count(begin, begin + kCounters, *begin) == kCounters, torn_reads);
  }
  if (area[0] != kUntouched) {  // an integer, unlike the values of the other groups
    check(area[0] < kGenerations, torn_reads);
    generations_read |= std::uint64_t{1} << (area[0] % 64);
  }
  ++reads;
}

// The providers "host" and "process" of the mediator, from construction to end.
class RemoteProviders {
 public:
  explicit RemoteProviders(tly_custom_options* names) {
    const tly_options_t options{nullptr, nullptr, names};
    host_ = rpe_mediator_construct_counter_provider(&options);
    process_ = rpe_mediator_construct_event_provider(names);
    schema_ = start_groups(host_);
    check(process_->event_provider_initialize(process_, type_system_.get()), failed_calls);
    check(process_->event_provider_start(process_), failed_calls);
  }
  ~RemoteProviders() {
    check(process_->event_provider_stop(process_) == 0, failed_calls);
    schema_.reset();
    host_->provider_finalize(host_);
  }
  RemoteProviders(const RemoteProviders&) = delete;
  RemoteProviders& operator=(const RemoteProviders&) = delete;

  void progress() {
    std::vector<tly_counter_value_t> values(tly_counters_schema_number_of_counters(schema_.get()));
    for (std::uint32_t i = 0; i < schema_->num_groups; ++i) {
      check(host_->counter_group_read(schema_->groups[i], values.data()), failed_calls);
    }
    for (int status = TLY_PROGRESS_PENDING; status == TLY_PROGRESS_PENDING;) {
      std::uint8_t room[128];  // for few events, so that some stay pending
      tly_data_serializer_t serializer{type_system_.get(), room, sizeof room, 0};
      status = process_->event_provider_progress(process_, 0, &serializer);
      check(status != TLY_PROGRESS_FAILED, failed_calls);
    }
    ++remote_reads;
  }

 private:
  const TypeSystemPtr type_system_{tly_create_type_system()};
  CountersSchemaPtr schema_;
  tly_provider_t* host_ = nullptr;
  tly_event_provider_t* process_ = nullptr;
};

// What an agent does on its thread.
void use_providers(Deadline end, const ToolShim& shim, tly_custom_options* remote_names) {
  while (is_before(end)) {
    tly_provider_t* const provider = construct_counter_provider(nullptr);
    if (provider == nullptr) {
      continue;  // discovery met the bad sample
    }
    CountersSchemaPtr schema = start_groups(provider);
    RemoteProviders remote(remote_names);
    for (int cycle = 0; cycle < 8 && is_before(end); ++cycle) {
      for (const std::size_t runs = shim.runs() + 4; shim.runs() < runs;) {
        read_sample(schema);
      }
      remote.progress();
      vintor_collector_stop(provider->context);
      read_sample(schema);
      check(vintor_collector_start(provider->context), failed_calls);
      ++collector_cycles;
    }
    schema.reset();
    provider->provider_finalize(provider);
    ++provider_cycles;
  }
}

// Each text is one command's own: none may get another's output.
void run_commands(Deadline end, int thread) {
  for (int i = 0; is_before(end); ++i) {
    const std::string text = std::to_string(thread) + "." + std::to_string(i);
    const bool fails = i % 8 == 7;
    const std::string line = "echo " + text + (fails ? "; exit 3" : "");
    char* output = nullptr;
    const bool is_run = rpe_mediator_run_command(line.c_str(), true, 30, &output, nullptr);
    const OwnedString owned(output);
    check(is_run ? !fails && output == text + "\n" : fails, wrong_commands);
    ++commands;
  }
}

void run_commands_to_their_limit(Deadline end) {
  constexpr const char* kLines[] = {"sleep 99 & wait", "exec >&-; sleep 99",
                                    "trap '' TERM; while :; do echo x; sleep 0.01; done"};
  for (std::size_t i = 0; is_before(end); ++i) {
    const char* const line = kLines[i % std::size(kLines)];
    check(!rpe_mediator_run_command(line, false, 1, nullptr, nullptr), wrong_commands);
    ++ended_commands;
  }
}

enum Resource { kDescriptors, kThreads, kChildren, kBlocks, kResidentKib, kResources };
using Usage = std::array<long, kResources>;

// Those of all threads, also such as have ended and were not waited for.
std::set<pid_t> list_children() {
  std::set<pid_t> children;
  for (const fs::directory_entry& thread : fs::directory_iterator("/proc/self/task")) {
    std::ifstream listed(thread.path() / "children");
    children.insert(std::istream_iterator<pid_t>(listed), {});
  }
  return children;
}

// One thread is listed after another, so that one child may be gone when the next is there. Those
// in two lists were there at once, between them.
long children_now() {
  const std::set<pid_t> children = list_children();
  const std::set<pid_t> still_there = list_children();
  return std::ranges::count_if(children, [&](pid_t pid) { return still_there.contains(pid); });
}

Usage usage_now() {
  Usage usage{};
  usage[kDescriptors] = std::distance(fs::directory_iterator("/proc/self/fd"), {});
  usage[kThreads] = std::distance(fs::directory_iterator("/proc/self/task"), {});
  usage[kChildren] = children_now();
  long pages = 0;
  std::ifstream("/proc/self/statm") >> pages >> pages;
  usage[kResidentKib] = pages * (sysconf(_SC_PAGESIZE) / 1024);
  usage[kBlocks] = live_allocations;
  return usage;
}

void print(const char* name, const Usage& usage) {
  printf("%-31s descriptors %ld, threads %ld, children %ld, blocks %ld, resident %ld KiB\n", name,
         usage[kDescriptors], usage[kThreads], usage[kChildren], usage[kBlocks],
         usage[kResidentKib]);
}

class Soak : public testing::Test {
 protected:
  Soak() {
    make_tool(shim_);
    std::string names;  // each construction takes the next
    for (int i = 0; i < 20000; ++i) {
      names += "grpc.host,grpc.process,";
    }
    tly_dict_add(remote_names_.get(), "enable-provider", names.c_str());
    stderr = receiving_stream();
    tly_init_stderr_logger(TLY_LOG_LEVEL_DEBUG);
    std::thread([] {}).join();  // to a first thread a sanitizer adds one of its own
    before_ = usage_now();
    print("before", before_);
  }
  void SetUp() override {
    ASSERT_TRUE(rpe_mediator_run_command(":", true, 30, nullptr, nullptr)) << "no client";
  }
  ~Soak() override {
    tly_set_log_level(0);
    stderr = standard_error_;
  }

  // Everything at once, then what is left.
  Usage run(const char* phase, double seconds, decltype(&change_sinks) change_log) {
    const Deadline end = std::chrono::steady_clock::now() +
                         std::chrono::milliseconds(static_cast<int>(1000 * seconds));
    std::vector<std::thread> threads;
    threads.emplace_back(&use_providers, end, std::cref(shim_), remote_names_.get());
    threads.emplace_back(change_log, end, (directory_.path() / "log").string());
    for (const char letter : {'a', 'b', 'c'}) {
      threads.emplace_back(&write_lines, end, letter);
    }
    threads.emplace_back(&run_commands, end, 0);
    threads.emplace_back(&run_commands, end, 1);
    threads.emplace_back(&run_commands_to_their_limit, end);
    Usage most{};
    while (is_before(end)) {
      std::ranges::transform(most, usage_now(), most.begin(), std::ranges::max);
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    print((std::string("  at most, ") + phase).c_str(), most);
    // The sampling thread, and one that was joined is listed for a moment longer.
    EXPECT_LE(most[kThreads], before_[kThreads] + static_cast<long>(threads.size()) + 2);
    EXPECT_LE(most[kChildren], 4) << "of three threads that run commands, and of one sampler";
    EXPECT_LE(most[kDescriptors], before_[kDescriptors] + 16);
    for (std::thread& thread : threads) {
      thread.join();
    }
    for (int i = 0; i < 1000 && usage_now()[kThreads] > before_[kThreads]; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    const Usage after = usage_now();
    print(phase, after);
    EXPECT_EQ(after[kThreads], before_[kThreads]);
    EXPECT_EQ(after[kDescriptors], before_[kDescriptors]);
    EXPECT_NE(waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT), 0) << "a child";
    return after;
  }

  void soak() {
    if (IS_EMULATED) {
      GTEST_SKIP() << "the emulator's child may wait for a lock of a thread that it has not";
    }
    const char* const setting = std::getenv("TALLYRA_SOAK_SECONDS");
    const double seconds = setting != nullptr ? std::atof(setting) : 4;
    const Usage warm = run("warming up", seconds / 6, &change_sinks);
    for (const Usage& later : {run("sinks of the library", seconds / 2, &change_sinks),
                               run("registered sinks", seconds / 3, &change_registered_sinks)}) {
      EXPECT_LE(later[kBlocks], warm[kBlocks]);
      // Without a setting the time is too short to warm up.
      if (setting != nullptr && !kAddressIsSanitized && !kThreadIsSanitized) {
        EXPECT_LE(later[kResidentKib], warm[kResidentKib] + 4096);
      }
    }
    const std::pair<const char*, std::uint64_t> figures[] = {
        {"samples", shim_.runs()},
        {"reads", reads},
        {"start/stop cycles of the collector", collector_cycles},
        {"provider cycles", provider_cycles},
        {"remote reads", remote_reads},
        {"commands", commands},
        {"commands ended at their limit", ended_commands},
        {"log lines", log_lines},
        {"changes of the log's sink", sink_changes}};
    for (const auto& [name, figure] : figures) {
      printf("%s %llu\n", name, static_cast<unsigned long long>(figure));
      EXPECT_GT(figure, 0U) << name;
    }
    EXPECT_EQ(torn_reads, 0U);
    EXPECT_EQ(wrong_commands, 0U);
    EXPECT_EQ(torn_lines, 0U);
    EXPECT_EQ(failed_calls, 0U);
    EXPECT_EQ(errors_received, errors_sent);
    EXPECT_GE(std::popcount(generations_read.load()), 4);
  }

 private:
  ToolShim shim_;
  TemporaryDirectory directory_;
  ScopedEnv interval_{"TLY_VINTOR_SAMPLE_INTERVAL_NSEC", "0"};
  Owned<tly_dict_t, &tly_dict_delete> remote_names_{tly_dict_create()};
  FILE* const standard_error_ = stderr;
  Usage before_;
};

TEST_F(Soak, LeavesNothingBehindWithTheToolAtAPipe) { soak(); }

TEST_F(Soak, LeavesNothingBehindWithTheToolAtTheClient) {
  const ScopedEnv container("TLY_DOCKER_ENV", "yes");
  soak();
}

}  // namespace
}  // namespace tly::test
