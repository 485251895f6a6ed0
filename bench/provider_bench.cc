// The performance-counter provider without its tool, beside plain uses of the standard library.
#include <benchmark/benchmark.h>
#ifdef TALLYRA_HAVE_CJSON
#include <cjson/cJSON.h>
#endif

#include <cstring>
#include <deque>
#include <map>
#include <regex>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/owned.h"
#include "encoding/json_ptr.h"
#include "vintor/collector.h"
#include "vintor/json_walk.h"
#include "vintor/sections.h"

namespace {

using vintor::collector::Collector;

constexpr int kInstances = 64;
constexpr int kCountersPerInstance = 17;
constexpr const char* kSections[] = {"pmc_res", "pmc_res_bw", "pmc_res_bw_agg"};

// One section's body: 17 counters for each of 64 instances.
std::string section_body() {
  std::string body = "{\n";
  for (int instance = 0; instance < kInstances; ++instance) {
    body += "  \"cpu" + std::to_string(instance) + "\": {";
    for (int counter = 0; counter < kCountersPerInstance; ++counter) {
      body += (counter == 0 ? "\"counter_" : ", \"counter_") + std::to_string(counter) +
              "\": " + std::to_string(1'000'003L * instance + counter);
    }
    body += instance + 1 < kInstances ? "},\n" : "}\n";
  }
  return body + "}\n";
}

std::string tool_output() {
  std::string output;
  for (const char* section : kSections) {
    output += std::string("=== ") + section + " ===\n" + section_body();
  }
  return output;
}

void count_bytes(benchmark::State& state, const std::string& text) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void SplitSections(benchmark::State& state) {
  const std::string output = tool_output();
  for (auto _ : state) {
    std::vector<std::pair<std::uint64_t, std::uint64_t>> offsets;
    std::vector<std::string> names;
    benchmark::DoNotOptimize(
        vintor::collector::split_sections(output.data(), output.size(), offsets, names));
  }
  count_bytes(state, output);
}
BENCHMARK(SplitSections);

void SplitSectionsByRegexIterator(benchmark::State& state) {
  const std::string output = tool_output();
  const std::regex expression("=== *(\\S+) *===");
  for (auto _ : state) {
    std::vector<std::string> names;
    for (std::cregex_iterator match(output.data(), output.data() + output.size(), expression), end;
         match != end; ++match) {
      names.push_back(match->str(1));
    }
    benchmark::DoNotOptimize(names);
  }
  count_bytes(state, output);
}
BENCHMARK(SplitSectionsByRegexIterator);

void ParseSection(benchmark::State& state) {
  const std::string body = section_body();
  for (auto _ : state) {
    const tly::JsonPtr value(json_parse_string_with_comments(body.c_str()));
    benchmark::DoNotOptimize(value.get());
  }
  count_bytes(state, body);
}
BENCHMARK(ParseSection);

void ParseAndWalkSection(benchmark::State& state) {
  const std::string body = section_body();
  const vintor::collector::LeafCallback add = [](std::vector<std::string>&, double value,
                                                 void* sum) {
    *static_cast<double*>(sum) += value;
  };
  for (auto _ : state) {
    double sum = 0;
    benchmark::DoNotOptimize(vintor::collector::enumerate_json(body.c_str(), add, &sum, "pmc_res"));
  }
  count_bytes(state, body);
}
BENCHMARK(ParseAndWalkSection);

// The copy of the output, which a sample cuts up, is part of all three figures. The argument says
// whether the sample before had the same names, as it has but for the first time.
void WholeSample(benchmark::State& state) {
  const std::string output = tool_output();
  std::unique_ptr<vintor::collector::ValueMap> before;
  for (auto _ : state) {
    std::string text = output;
    auto sample = Collector::buildValueMap(text.data(), text.size(), before.get());
    benchmark::DoNotOptimize(sample.get());
    if (state.range(0) != 0) {
      before = std::move(sample);
    }
  }
  count_bytes(state, output);
}
BENCHMARK(WholeSample)->ArgName("names_known")->Arg(0)->Arg(1);

#ifdef TALLYRA_HAVE_CJSON
void add_values(const cJSON* object, std::vector<std::string>& path,
                std::unordered_map<std::string, tly_counter_value_t>& values) {
  const cJSON* member = nullptr;
  cJSON_ArrayForEach(member, object) {
    path.emplace_back(member->string);
    if (cJSON_IsNumber(member)) {
      values[path.front() + ":" + path[path.size() - 2] + ":" + path.back()].fp64 =
          member->valuedouble;
    } else {
      add_values(member, path, values);
    }
    path.pop_back();
  }
}

// The straightforward way: the standard regular expressions, cJSON and the standard hash map.
void WholeSampleByReference(benchmark::State& state) {
  const std::string output = tool_output();
  const std::regex expression("=== *(\\S+) *===");
  for (auto _ : state) {
    std::string text = output;
    std::unordered_map<std::string, tly_counter_value_t> values;
    std::cregex_iterator header(text.data(), text.data() + text.size(), expression);
    while (header != std::cregex_iterator()) {
      const std::cmatch section = *header++;
      const char* const end =
          header != std::cregex_iterator() ? (*header)[0].first : text.data() + text.size();
      std::vector<std::string> path = {section.str(1)};
      cJSON* const body = cJSON_ParseWithLength(section[0].second,
                                                static_cast<std::size_t>(end - section[0].second));
      add_values(body, path, values);
      cJSON_Delete(body);
    }
    benchmark::DoNotOptimize(values);
  }
  count_bytes(state, output);
}
BENCHMARK(WholeSampleByReference);
#endif

// All 3,264 counters of the output, laid out one after the other.
class EveryCounter {
 public:
  EveryCounter() {
    std::string output = tool_output();
    const auto sample = Collector::buildValueMap(output.data(), output.size(), nullptr);
    for (std::uint32_t position = 0; position < sample->names()->size(); ++position) {
      names_.emplace_back(sample->names()->at(position));
      values_[names_.back()] = sample->at(position);
      tly_counter_info_t& counter = counters_.emplace_back();
      counter.name = names_.back().data();
      counter.data_type = TLY_DATA_TYPE_FP64;
      counter.offset = static_cast<std::uint32_t>(8 * pointers_.size());
      pointers_.push_back(&counter);
    }
    group_.counters = pointers_.data();
    group_.num_counters = static_cast<std::uint32_t>(pointers_.size());
    area_.resize(pointers_.size());
  }

  const std::unordered_map<std::string, tly_counter_value_t>& values() const { return values_; }
  const std::deque<tly_counter_info_t>& counters() const { return counters_; }
  tly_counter_group_t* group() { return &group_; }
  tly_counter_value_t* area() { return area_.data(); }
  void count_reads(benchmark::State& state) const {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(counters_.size()));
  }

 private:
  std::unordered_map<std::string, tly_counter_value_t> values_;
  std::deque<std::string> names_;
  std::deque<tly_counter_info_t> counters_;
  std::vector<tly_counter_info_t*> pointers_;
  std::vector<tly_counter_value_t> area_;
  tly_counter_group_t group_{};
};

// Items are counters.
void GroupRead(benchmark::State& state) {
  EveryCounter every;
  Collector collector;
  collector.addGroup(every.group());
  std::string output = tool_output();
  collector.install(Collector::buildValueMap(output.data(), output.size(), nullptr));
  for (auto _ : state) {
    collector.fillBuffer(every.group(), every.area());
    benchmark::ClobberMemory();
  }
  every.count_reads(state);
}
BENCHMARK(GroupRead);

// Registering the group again, which looks its names up, and a read.
void GroupStartAndFirstRead(benchmark::State& state) {
  EveryCounter every;
  Collector collector;
  std::string output = tool_output();
  collector.install(Collector::buildValueMap(output.data(), output.size(), nullptr));
  for (auto _ : state) {
    collector.addGroup(every.group());
    collector.fillBuffer(every.group(), every.area());
    benchmark::ClobberMemory();
  }
  every.count_reads(state);
}
BENCHMARK(GroupStartAndFirstRead);

void GroupReadByStandardMaps(benchmark::State& state) {
  EveryCounter every;
  std::map<std::uint32_t, std::string> names;
  for (const tly_counter_info_t& counter : every.counters()) {
    names[counter.offset] = counter.name;
  }
  for (auto _ : state) {
    auto* const area = reinterpret_cast<char*>(every.area());
    for (const tly_counter_info_t& counter : every.counters()) {
      const tly_counter_value_t& value = every.values().at(names.at(counter.offset));
      std::memcpy(area + counter.offset, &value, sizeof value);
    }
    benchmark::ClobberMemory();
  }
  every.count_reads(state);
}
BENCHMARK(GroupReadByStandardMaps);

}  // namespace
