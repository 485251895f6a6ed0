// Encoding and decoding of type systems and counters schemas, in bytes of their text, beside a
// plain copy of the same text.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "common/owned.h"
#include "encoding/json_ptr.h"
#include "tallyra/type_system.h"

namespace {

using CountersSchemaPtr = tly::Owned<tly_counters_schema_t, &tly_destroy_counters_schema>;
using TypeSystemPtr = tly::Owned<tly_type_system_t, &tly_destroy_type_system>;

constexpr int kSchemas = 50;
constexpr int kTypes = 20;
constexpr int kFields = 8;
constexpr int kCountersPerGroup = 250;

TypeSystemPtr make_type_system() {
  constexpr const char* kTypeNames[] = {"timestamp", "uint64_t", "double", "char"};
  TypeSystemPtr type_system(tly_create_type_system());
  std::vector<std::string> names;
  for (int index = 0; index < kFields; ++index) {
    names.push_back("field_" + std::to_string(index));
  }
  std::vector<tly_type_field_info_t> fields;
  for (int index = 0; index < kFields; ++index) {
    fields.push_back({names[static_cast<std::size_t>(index)].c_str(), "what the field tells",
                      kTypeNames[index % 4], TLY_VALUE_TYPE_ABSOLUTE,
                      static_cast<uint16_t>(index % 4 == 3 ? 32 : 1)});
  }
  for (int index = 0; index < kSchemas; ++index) {
    const std::string provider = "provider_" + std::to_string(index);
    tly_schema_t* schema =
        tly_type_system_add_schema(type_system.get(), provider.c_str(), 1, nullptr);
    for (int type = 0; type < kTypes; ++type) {
      const std::string name = "record_" + std::to_string(type);
      tly_schema_add_type(schema, name.c_str(), fields.data(), fields.size(), nullptr);
    }
  }
  return type_system;
}

CountersSchemaPtr make_counters_schema(int64_t num_counters) {
  CountersSchemaPtr schema(tly_create_counters_schema());
  for (int64_t first = 0; first < num_counters; first += kCountersPerGroup) {
    tly_counter_group_t* group = tly::allocate_zeroed<tly_counter_group_t>().release();
    group->num_counter_sets = 1;
    group->name = strdup("component");
    group->provider_name = strdup("provider");
    for (int64_t index = first; index < first + kCountersPerGroup; ++index) {
      std::string name = "processor/" + std::to_string(index) + "/retired_instructions";
      std::string description = "Instructions retired since the processor was started";
      std::string units = "instructions";
      const tly_counter_info_t counter{
          0,     name.data(), description.data(), units.data(), TLY_DATA_TYPE_UINT64, 0, 0, 8, 0,
          false, true};
      tly_add_counter_to_group(group, &counter);
    }
    tly_counters_schema_append_group(schema.get(), group);
  }
  tly_counters_schema_update_counter_offsets(schema.get());
  return schema;
}

std::string text_of(const tly_type_system_t* type_system) {
  const tly::Owned<char, &json_free_serialized_string> text(
      tly_type_system_serialize(type_system, true));
  return text.get();
}

std::string text_of(const tly_counters_schema_t* schema) {
  const tly::Owned<char, &json_free_serialized_string> text(tly_counters_schema_serialize(schema));
  return text.get();
}

// Runs work(record, text) in a loop and counts the text's bytes.
template <typename Record, typename Work>
void measure(benchmark::State& state, const Record& record, Work work) {
  const std::string text = text_of(record.get());
  for (auto _ : state) {
    work(record.get(), text);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

constexpr auto kEncode = [](const auto* record, const std::string&) {
  benchmark::DoNotOptimize(text_of(record));
};
constexpr auto kCopy = [](const auto*, const std::string& text) {
  benchmark::DoNotOptimize(std::string(text));
};

void TypeSystemEncode(benchmark::State& state) { measure(state, make_type_system(), kEncode); }
BENCHMARK(TypeSystemEncode)->Unit(benchmark::kMicrosecond);

void TypeSystemDecode(benchmark::State& state) {
  measure(state, make_type_system(), [](const auto*, const std::string& text) {
    benchmark::DoNotOptimize(TypeSystemPtr(tly_type_system_deserialize(text.c_str())));
  });
}
BENCHMARK(TypeSystemDecode)->Unit(benchmark::kMicrosecond);

void TypeSystemReferenceCopy(benchmark::State& state) { measure(state, make_type_system(), kCopy); }
BENCHMARK(TypeSystemReferenceCopy)->Unit(benchmark::kMicrosecond);

// By the number of counters: the rates of both sizes are alike when the cost grows linearly.
void CountersSchemaEncode(benchmark::State& state) {
  measure(state, make_counters_schema(state.range(0)), kEncode);
}
BENCHMARK(CountersSchemaEncode)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

void CountersSchemaDecode(benchmark::State& state) {
  measure(state, make_counters_schema(state.range(0)), [](const auto*, const std::string& text) {
    benchmark::DoNotOptimize(CountersSchemaPtr(tly_counters_schema_deserialize(text.c_str())));
  });
}
BENCHMARK(CountersSchemaDecode)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

// Rates in counters.
void CountersSchemaOffsets(benchmark::State& state) {
  const CountersSchemaPtr schema = make_counters_schema(state.range(0));
  for (auto _ : state) {
    tly_counters_schema_update_counter_offsets(schema.get());
    benchmark::DoNotOptimize(tly_counters_schema_size_of_counters(schema.get()));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(CountersSchemaOffsets)->Arg(1000)->Arg(10000);

void CountersSchemaReferenceCopy(benchmark::State& state) {
  measure(state, make_counters_schema(state.range(0)), kCopy);
}
BENCHMARK(CountersSchemaReferenceCopy)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

}  // namespace
