// Reads of remote counters, beside the client's own call and a plain copy of the same bytes.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "mediator/provider_handler.h"

namespace {

using Handler = tly::GrpcHandler::ProviderHandler;
using GroupPtr = tly::Owned<tly_counter_group_t, &tly_destroy_counter_group>;

constexpr std::size_t kCounters = 10'000;
constexpr std::size_t kValueBytes = kCounters * sizeof(tly_counter_value_t);

// A client that has the values ready: all that it must do is to copy them.
bool deliver(void* values, uint32_t, uint16_t, void** buffer, uint64_t* size) {
  *size = sizeof(tly_counters_data_t) + kValueBytes;
  *buffer = std::malloc(*size);
  std::memcpy(*buffer, values, *size);
  return true;
}

std::string type_system_text() {
  std::string counters;
  for (std::size_t index = 0; index < kCounters; ++index) {
    counters += (index > 0 ? ",{\"name\":\"c" : "{\"name\":\"c") + std::to_string(index) +
                R"(","description":"","units":"","data_type":"UINT64",)" +
                R"("counting_type":"ABSOLUTE","length":8})";
  }
  return R"({"version":"1.5.0","counter_groups":[{"granularity":"NODE","num_counters":)" +
         std::to_string(kCounters) + R"(,"num_counter_sets":1,"name":"all","counters":[)" +
         counters + "]}]}";
}

tly::DetailsPtr make_details() {
  tly::DetailsPtr details(tly::allocate_zeroed<qpx_event_provider_details_t>().release());
  details->name = strdup("remote");
  details->type_system_json = strdup(type_system_text().c_str());
  return details;
}

// One read cycle of one group.
void MediatedGroupRead(benchmark::State& state) {
  std::vector<char> delivered(sizeof(tly_counters_data_t) + kValueBytes, 1);
  tly::RemoteClient client;
  client.functions.event_provider_progress = &deliver;
  client.handle = delivered.data();
  const Handler handler(make_details(), true);
  if (!handler.ready()) {
    state.SkipWithError("the provider is not ready");
    return;
  }
  tly_provider_t* const provider = handler.counter_provider();
  const tly_component_t& component = *provider->components[0];
  const GroupPtr group(tly_create_counter_group(provider, &component));
  for (int32_t index = 0; index < component.num_counters; ++index) {
    tly_add_counter_to_group(group.get(), component.counters[index]);
  }
  std::vector<tly_counter_value_t> values(kCounters);
  for (auto _ : state) {
    if (!Handler::onReadCounterGroup(client, group.get(), values.data())) {
      state.SkipWithError("the read failed");
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kValueBytes));
}
BENCHMARK(MediatedGroupRead);

void MediatedGroupReadReference(benchmark::State& state) {
  std::vector<char> delivered(sizeof(tly_counters_data_t) + kValueBytes, 1);
  std::vector<tly_counter_value_t> values(kCounters);
  for (auto _ : state) {
    void* buffer = nullptr;
    uint64_t size = 0;
    deliver(delivered.data(), 0, 0, &buffer, &size);
    std::memcpy(values.data(), static_cast<char*>(buffer) + sizeof(tly_counters_data_t),
                kValueBytes);
    std::free(buffer);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kValueBytes));
}
BENCHMARK(MediatedGroupReadReference);

}  // namespace
