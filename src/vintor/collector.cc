#include "vintor/collector.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <span>
#include <utility>

#include "common/boundary.h"
#include "common/log.h"
#include "common/owned.h"
#include "common/rate_limited_log.h"
#include "common/settings_number.h"
#include "vintor/command_runner.h"
#include "vintor/json_walk.h"
#include "vintor/sections.h"
#include "vintor/tool.h"

namespace vintor::collector {
namespace {

constexpr std::int32_t kDefaultIntervalNs = 1'000'000'000;

constinit tly::LastIssuedUs no_data_issued_us{0};
constinit tly::LastIssuedUs empty_output_issued_us{0};
constinit tly::LastIssuedUs dropped_sample_issued_us{0};
constinit tly::LastIssuedUs no_sample_issued_us{0};

// A group may count counters that were never stored in it; such entries are null.
std::span<tly_counter_info_t* const> counters_of(const tly_counter_group_t& group) {
  return {group.counters, group.counters != nullptr ? group.num_counters : 0};
}

// Sleeps on when a signal interrupts the pause.
void pause_for(std::chrono::nanoseconds duration) {
  constexpr std::int64_t kNsPerSecond = 1'000'000'000;
  timespec remaining{.tv_sec = duration.count() / kNsPerSecond,
                     .tv_nsec = duration.count() % kNsPerSecond};
  while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
  }
}

}  // namespace

Collector::~Collector() {
  stopCollection();
  const std::lock_guard lock(mutex_);
  value_map_.reset();
}

bool Collector::startCollection() {
  if (thread_.joinable()) {
    return false;
  }
  is_running_ = true;
  thread_process_ = getpid();
  thread_ = std::thread(&Collector::collectionLoop, this);
  return true;
}

void Collector::stopCollection() {
  is_running_ = false;
  if (thread_.joinable()) {
    thread_.join();
  }
}

void Collector::collectionLoop() {
  TLY_LOG_DEBUG("[vintor] [%s] Starting collection loop", __func__);
  const std::chrono::nanoseconds interval(
      tly::setting_as_int32("VINTOR_SAMPLE_INTERVAL_NSEC", kDefaultIntervalNs));
  while (is_running_) {
    const auto start = std::chrono::steady_clock::now();
    if (!sample()) {
      TLY_LOG_RATE_LIMITED(dropped_sample_issued_us, TLY_LOG_LEVEL_ERROR,
                           "[vintor] failed to collect data");
    }
    const std::chrono::nanoseconds elapsed = std::chrono::steady_clock::now() - start;
    if (elapsed < interval) {
      pause_for(interval - elapsed);
    }
  }
  TLY_LOG_DEBUG("[vintor] [%s] Finished collection loop", __func__);
}

bool Collector::isOutOfReach() const {
  return thread_.joinable() &&
         (thread_process_ != getpid() || thread_.get_id() == std::this_thread::get_id());
}

// No exception may end the thread, and the host with it: it costs the sample.
bool Collector::sample() {
  return tly::result_or(false, [this] { return doCollection(); });
}

bool Collector::doCollection() {
  char* raw_output = nullptr;
  std::uint64_t length = 0;
  if (!execute_command(kToolCommand, &raw_output, &length)) {
    TLY_LOG_RATE_LIMITED(no_data_issued_us, TLY_LOG_LEVEL_WARNING, "[vintor] Failed to get data");
    return false;
  }
  tly::OwnedString output(raw_output);
  if (!output || length == 0) {
    TLY_LOG_RATE_LIMITED(empty_output_issued_us, TLY_LOG_LEVEL_WARNING,
                         "[vintor] Got empty output");
    return false;
  }
  std::unique_ptr<ValueMap> sampled = buildValueMap(output.get(), length, value_map_.get());
  if (!sampled) {
    return false;
  }
  output.reset();
  install(std::move(sampled));
  return true;
}

void Collector::install(std::unique_ptr<ValueMap> sampled) {
  {
    const std::lock_guard lock(mutex_);
    value_map_.swap(sampled);
  }
  sampled.reset();  // the map that was replaced: freeing it would hold up reads under the lock
}

std::unique_ptr<ValueMap> Collector::buildValueMap(char* output, std::uint64_t length,
                                                   const ValueMap* before) {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> offsets;
  std::vector<std::string> names;
  if (!split_sections(output, length, offsets, names)) {
    TLY_LOG_ERROR("[vintor] Failed to split the input string by sections");
    return nullptr;
  }
  ValueMapBuilder sampled(before != nullptr ? before->names() : nullptr, length);
  for (std::size_t i = 0; i < names.size(); ++i) {
    output[offsets[i].second] = '\0';
    if (!enumerate_json(output + offsets[i].first, &addValueCallback, &sampled, names[i])) {
      TLY_LOG_ERROR("[vintor] Failed to parse and enumerate the input JSON string");
      return nullptr;
    }
  }
  return sampled.finish();
}

void Collector::addValueCallback(std::vector<std::string>& key_path, double value, void* context) {
  auto* const sampled = static_cast<ValueMapBuilder*>(context);
  if (sampled == nullptr) {
    TLY_LOG_ERROR("[vintor] [%s] name_to_value is null", __func__);
    return;
  }
  if (key_path.size() < 3) {
    TLY_LOG_ERROR("[vintor] [%s] No keys found for the counter - expected at least 3 keys",
                  __func__);
    return;
  }
  sampled->add(name_parts(key_path.front(), key_path), value);
}

bool Collector::addGroup(tly_counter_group_t* group) {
  offsets_.add(counters_of(*group));
  return true;
}

bool Collector::fillBuffer(tly_counter_group_t* group, tly_counter_value_t* values) {
  const std::lock_guard lock(mutex_);
  if (!value_map_) {
    TLY_LOG_RATE_LIMITED(no_sample_issued_us, TLY_LOG_LEVEL_DEBUG,
                         "[vintor] [%s] no data collected", __func__);
    return true;
  }
  offsets_.copy_values(counters_of(*group), *value_map_, reinterpret_cast<char*>(values));
  return true;
}

}  // namespace vintor::collector
