// Parsing and serialization of what the monitoring tool prints, beside two other libraries.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "tallyra/parson.h"

#ifdef TALLYRA_HAVE_CJSON
#include <cjson/cJSON.h>
#endif
#ifdef TALLYRA_HAVE_RAPIDJSON
#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#endif

namespace {

constexpr int kProcessors = 192;
constexpr int kNumbersPerProcessor = 17;

// 81 KB: 192 objects of 17 numbers, two thirds of them counts, the others with up to six decimals.
const std::string& document() {
  static const std::string text = [] {
    std::uint64_t random = 88172645463325252;
    const auto next = [&random](std::uint64_t limit) {
      random ^= random << 13;
      random ^= random >> 7;
      random ^= random << 17;
      return random % limit;
    };
    std::string built = "{\n";
    for (int processor = 0; processor < kProcessors; ++processor) {
      built += "\"cpu" + std::to_string(processor) + "\": {\n";
      for (int index = 0; index < kNumbersPerProcessor; ++index) {
        const bool is_decimal = index % 3 == 2;
        built += (is_decimal ? "  \"rate_" : "  \"count_") + std::to_string(index) + "\": ";
        built += is_decimal ? std::to_string(static_cast<double>(next(4'000'000'000)) / 1e6)
                            : std::to_string(next(std::uint64_t{1} << (8 + 2 * index)));
        built += index + 1 < kNumbersPerProcessor ? ",\n" : "\n";
      }
      built += processor + 1 < kProcessors ? "},\n" : "}\n";
    }
    return built + "}\n";
  }();
  return text;
}

void count_bytes(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

// Each round releases what it parsed.
void JsonParse(benchmark::State& state) {
  for (auto _ : state) {
    JSON_Value* value = json_parse_string(document().c_str());
    benchmark::DoNotOptimize(value);
    json_value_free(value);
  }
  count_bytes(state, document().size());
}
BENCHMARK(JsonParse)->Unit(benchmark::kMicrosecond);

void JsonParseWithComments(benchmark::State& state) {
  const std::string text = "// comment\n" + document();
  for (auto _ : state) {
    JSON_Value* value = json_parse_string_with_comments(text.c_str());
    benchmark::DoNotOptimize(value);
    json_value_free(value);
  }
  count_bytes(state, text.size());
}
BENCHMARK(JsonParseWithComments)->Unit(benchmark::kMicrosecond);

void JsonPretty(benchmark::State& state) {
  JSON_Value* value = json_parse_string(document().c_str());
  for (auto _ : state) {
    char* text = json_serialize_to_string_pretty(value);
    benchmark::DoNotOptimize(text);
    json_free_serialized_string(text);
  }
  count_bytes(state, json_serialization_size_pretty(value) - 1);
  json_value_free(value);
}
BENCHMARK(JsonPretty)->Unit(benchmark::kMicrosecond);

void JsonDeepCopy(benchmark::State& state) {
  JSON_Value* value = json_parse_string(document().c_str());
  for (auto _ : state) {
    JSON_Value* copy = json_value_deep_copy(value);
    benchmark::DoNotOptimize(copy);
    json_value_free(copy);
  }
  json_value_free(value);
  count_bytes(state, document().size());
}
BENCHMARK(JsonDeepCopy)->Unit(benchmark::kMicrosecond);

#ifdef TALLYRA_HAVE_CJSON
void JsonParseReferenceCjson(benchmark::State& state) {
  for (auto _ : state) {
    cJSON* value = cJSON_Parse(document().c_str());
    benchmark::DoNotOptimize(value);
    cJSON_Delete(value);
  }
  count_bytes(state, document().size());
}
BENCHMARK(JsonParseReferenceCjson)->Unit(benchmark::kMicrosecond);

void JsonPrettyReferenceCjson(benchmark::State& state) {
  cJSON* value = cJSON_Parse(document().c_str());
  for (auto _ : state) {
    char* text = cJSON_Print(value);
    benchmark::DoNotOptimize(text);
    std::free(text);
  }
  cJSON_Delete(value);
}
BENCHMARK(JsonPrettyReferenceCjson)->Unit(benchmark::kMicrosecond);
#endif

#ifdef TALLYRA_HAVE_RAPIDJSON
void JsonParseReferenceRapidjson(benchmark::State& state) {
  for (auto _ : state) {
    rapidjson::Document value;
    value.Parse(document().c_str());
    benchmark::DoNotOptimize(value);
  }
  count_bytes(state, document().size());
}
BENCHMARK(JsonParseReferenceRapidjson)->Unit(benchmark::kMicrosecond);

void JsonPrettyReferenceRapidjson(benchmark::State& state) {
  rapidjson::Document value;
  value.Parse(document().c_str());
  std::size_t bytes = 0;
  for (auto _ : state) {
    rapidjson::StringBuffer buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
    value.Accept(writer);
    benchmark::DoNotOptimize(buffer.GetString());
    bytes = buffer.GetSize();
  }
  count_bytes(state, bytes);
}
BENCHMARK(JsonPrettyReferenceRapidjson)->Unit(benchmark::kMicrosecond);
#endif

}  // namespace
