// The logger's disabled call, and the dictionary beside the standard hash map.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "tallyra/dictionary.h"
#include "tallyra/logging.h"

namespace {

std::vector<std::string> numbered(const char* prefix, long count) {
  std::vector<std::string> texts;
  for (long index = 0; index < count; ++index) {
    texts.push_back(prefix + std::to_string(index));
  }
  return texts;
}

struct DeleteDictionary {
  void operator()(tly_dict_t* dict) const { tly_dict_delete(dict); }
};
using Dictionary = std::unique_ptr<tly_dict_t, DeleteDictionary>;

Dictionary filled_dictionary(const std::vector<std::string>& keys) {
  Dictionary dict(tly_dict_create());
  for (const std::string& key : keys) {
    tly_dict_add(dict.get(), key.c_str(), "value");
  }
  return dict;
}

std::unordered_map<std::string, std::string> filled_map(const std::vector<std::string>& keys) {
  std::unordered_map<std::string, std::string> map;
  for (const std::string& key : keys) {
    map.insert_or_assign(key, "value");
  }
  return map;
}

void DisabledLogCall(benchmark::State& state) {
  tly_set_log_level(TLY_LOG_LEVEL_ERROR);
  int argument = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(argument);
    TLY_LOG(TLY_LOG_LEVEL_DEBUG, "value %d", argument);
  }
}
BENCHMARK(DisabledLogCall);

// The same loop without the call: what is left of the time above is the call's.
void DisabledLogCallReference(benchmark::State& state) {
  int argument = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(argument);
  }
}
BENCHMARK(DisabledLogCallReference);

void DictionaryAdd(benchmark::State& state) {
  const std::vector<std::string> keys = numbered("counter", state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(filled_dictionary(keys));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(DictionaryAdd)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMicrosecond);

void DictionaryAddReference(benchmark::State& state) {
  const std::vector<std::string> keys = numbered("counter", state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(filled_map(keys));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(DictionaryAddReference)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMicrosecond);

// Argument 1 is 0 for keys that are there, 1 for keys that are not.
std::vector<std::string> probes(const benchmark::State& state) {
  return numbered(state.range(1) == 0 ? "counter" : "missing", state.range(0));
}

void DictionaryGet(benchmark::State& state) {
  const Dictionary dict = filled_dictionary(numbered("counter", state.range(0)));
  const std::vector<std::string> keys = probes(state);
  for (auto _ : state) {
    for (const std::string& key : keys) {
      benchmark::DoNotOptimize(tly_dict_get(dict.get(), key.c_str()));
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(DictionaryGet)->ArgsProduct({{1000, 1000000}, {0, 1}})->Unit(benchmark::kMicrosecond);

void DictionaryGetReference(benchmark::State& state) {
  const auto map = filled_map(numbered("counter", state.range(0)));
  const std::vector<std::string> keys = probes(state);
  for (auto _ : state) {
    for (const std::string& key : keys) {
      // From a C string, as the dictionary's callers have it.
      benchmark::DoNotOptimize(map.find(key.c_str()));
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(DictionaryGetReference)
    ->ArgsProduct({{1000, 1000000}, {0, 1}})
    ->Unit(benchmark::kMicrosecond);

}  // namespace
