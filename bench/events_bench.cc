// Events written by the serializer, in bytes of the events, beside plain copies of the same bytes
// to the same places. The arguments are the bytes of the data area and the events of a record.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "common/owned.h"
#include "tallyra/data_serializer.h"

namespace {

using TypeSystemPtr = tly::Owned<tly_type_system_t, &tly_destroy_type_system>;

constexpr uint64_t kEventSize = 64;

TypeSystemPtr make_type_system() {
  TypeSystemPtr type_system(tly_create_type_system());
  tly_schema_t* const schema = tly_type_system_add_schema(type_system.get(), "bench", 1, nullptr);
  const tly_type_field_info_t field{"values", "", "uint64_t", TLY_VALUE_TYPE_ABSOLUTE, 8};
  tly_schema_add_type(schema, "event", &field, 1, nullptr);
  return type_system;
}

// Measures write(area, events, records), which fills the data area with that many records of the
// events.
template <typename Write>
void fill_area(benchmark::State& state, Write write) {
  const auto count = static_cast<uint8_t>(state.range(1));
  const uint64_t record_size = TLY_EVENTS_HEADER_SIZE + count * kEventSize;
  const uint64_t records = static_cast<uint64_t>(state.range(0)) / record_size;
  std::vector<uint8_t> area(records * record_size, 1);
  const std::vector<uint8_t> events(count * kEventSize, 2);
  for (auto _ : state) {
    write(area, events, records);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(records * count * kEventSize));
}

void SerializerWrite(benchmark::State& state) {
  const TypeSystemPtr type_system = make_type_system();
  const auto count = static_cast<uint8_t>(state.range(1));
  fill_area(state, [&](std::vector<uint8_t>& area, const auto& events, uint64_t) {
    tly_data_serializer_t serializer{type_system.get(), area.data(), area.size(), 0};
    while (tly_data_serializer_write_events(&serializer, 0, 0, events.data(), count) > 0) {
    }
  });
}

void SerializerReferenceCopy(benchmark::State& state) {
  fill_area(state, [](std::vector<uint8_t>& area, const auto& events, uint64_t records) {
    uint8_t* target = area.data();
    for (; records > 0; --records) {
      std::memcpy(target + TLY_EVENTS_HEADER_SIZE, events.data(), events.size());
      target += TLY_EVENTS_HEADER_SIZE + events.size();
    }
  });
}

void areas_and_records(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgsProduct({{256 << 10, 8 << 20}, {255, 1}})->ArgNames({"area", "record"});
}
BENCHMARK(SerializerWrite)->Apply(areas_and_records);
BENCHMARK(SerializerReferenceCopy)->Apply(areas_and_records);

}  // namespace
