// What a remote executor may send: type systems of providers, blocks of counters, buffers of
// events.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "mediator/provider_handler.h"

namespace {

using tly::Owned;
using tly::RemoteClient;
using Handler = tly::GrpcHandler::ProviderHandler;
using TypeSystemPtr = Owned<tly_type_system_t, &tly_destroy_type_system>;
using GroupPtr = Owned<tly_counter_group_t, &tly_destroy_counter_group>;

constexpr std::size_t kMaxBuffer = 600;
constexpr int kMaxSteps = 64;

constexpr const char* kCountersText = R"({"version":"1.5.0","counter_groups":[
{"granularity":"NODE","num_counters":2,"num_counter_sets":1,"name":"a","counters":[
{"name":"x","description":"","units":"","data_type":"UINT64","counting_type":"ABSOLUTE","length":8},
{"name":"y","description":"","units":"","data_type":"STRING","counting_type":"ABSOLUTE","length":9}
]},{"granularity":"NODE","num_counters":1,"num_counter_sets":1,"name":"b","counters":[
{"name":"z","description":"","units":"","data_type":"FP64","counting_type":"ABSOLUTE","length":8}
]}]})";
constexpr const char* kEventsText = R"({"version":"1.5.0","schemas":[
{"tly_version":"1.5","provider_name":"p","provider_version":"1.0","types":[
{"name":"four","size":4,"fields":[{"field_name":"f","description":"","type_size":4,"offset":0,
"type_name":"int","counting_mode":"ABSOLUTE"}]},
{"name":"one","size":1,"fields":[{"field_name":"f","description":"","type_size":1,"offset":0,
"type_name":"uint8_t","counting_mode":"ABSOLUTE"}]}]}]})";

// Delivers blocks of exactly their size, of bytes, failures and sizes that the input chooses.
bool deliver(void* input, uint32_t, uint16_t, void** buffer, uint64_t* size) {
  auto& data = *static_cast<FuzzedDataProvider*>(input);
  const auto kind = data.ConsumeIntegral<uint8_t>();
  const std::string bytes = data.ConsumeRandomLengthString(kMaxBuffer);
  *size = (kind & 1) != 0 ? 0 : bytes.size();
  *buffer = (kind & 2) != 0 ? nullptr : std::malloc(bytes.empty() ? 1 : bytes.size());
  if (*buffer != nullptr) {
    std::memcpy(*buffer, bytes.data(), bytes.size());
  }
  return (kind & 4) == 0;
}

tly::DetailsPtr details_of(const std::string& type_system, bool with_name) {
  tly::DetailsPtr details(tly::allocate_zeroed<qpx_event_provider_details_t>().release());
  details->type_system_json = strdup(type_system.c_str());
  details->name = with_name ? strdup("remote") : nullptr;
  return details;
}

// Reads groups in the order that the input chooses, each into an area of just its size.
void read_counters(const RemoteClient& client, const std::string& type_system,
                   FuzzedDataProvider& data) {
  const Handler handler(details_of(type_system, data.ConsumeBool()), true);
  if (!handler.ready()) {
    return;
  }
  tly_provider_t* const provider = handler.counter_provider();
  std::vector<GroupPtr> groups;
  for (std::size_t id = 0; id < provider->num_components; ++id) {
    const tly_component_t& component = *provider->components[id];
    groups.emplace_back(tly_create_counter_group(provider, &component));
    for (int32_t i = 0; i < component.num_counters; ++i) {
      tly_add_counter_to_group(groups.back().get(), component.counters[i]);
      groups.back()->counters[i]->offset -= component.counters[0]->offset;
    }
  }
  for (int step = 0; step < kMaxSteps && data.remaining_bytes() > 0; ++step) {
    tly_counter_group_t* const group =
        groups[data.ConsumeIntegral<uint16_t>() % groups.size()].get();
    std::size_t length = 0;
    if (group->num_counters > 0) {
      const tly_counter_info_t& last = *group->counters[group->num_counters - 1];
      length = last.offset + last.length;
    }
    std::vector<uint8_t> values(length <= kMaxBuffer ? length : 0);
    Handler::onReadCounterGroup(client, group,
                                reinterpret_cast<tly_counter_value_t*>(values.data()));
  }
}

// Aborts unless the bytes written are whole records.
void check_records(const tly_data_serializer_t& serializer) {
  uint64_t at = 0;
  while (at < serializer.used) {
    const uint8_t* const header = serializer.buffer + at;
    if (serializer.used - at <= TLY_EVENTS_HEADER_SIZE || std::memcmp(header, "TLYE", 4) != 0) {
      std::abort();
    }
    const tly_schema_t& schema = *serializer.type_system->schemas[header[12]];
    at += TLY_EVENTS_HEADER_SIZE + header[15] * schema.types[header[13]]->size;
  }
  if (at != serializer.used || serializer.used > serializer.capacity) {
    std::abort();
  }
}

void copy_events(const RemoteClient& client, const std::string& type_system,
                 FuzzedDataProvider& data) {
  Handler handler(details_of(type_system, data.ConsumeBool()), false);
  const TypeSystemPtr agent(tly_create_type_system());
  for (int held = data.ConsumeBool() ? 254 : 1; held > 0; --held) {
    tly_type_system_add_schema(agent.get(), "agent", 1, nullptr);
  }
  handler.onEventInitialize(agent.get());
  if (data.ConsumeBool()) {
    handler.onEventInitialize(agent.get());
  }
  tly_destroy_source_array(handler.take_sources());
  handler.freeDetails();
  for (int step = 0; step < kMaxSteps && data.remaining_bytes() > 0; ++step) {
    std::vector<uint8_t> area(data.ConsumeIntegral<uint8_t>());
    tly_data_serializer_t serializer{agent.get(), area.data(), area.size(), 0};
    handler.onEventProgress(client, 0, &serializer);
    check_records(serializer);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  RemoteClient client;
  client.functions.event_provider_progress = &deliver;
  client.handle = &data;
  const bool is_counters = data.ConsumeBool();
  const bool brings_type_system = data.ConsumeBool();
  const char* const known = is_counters ? kCountersText : kEventsText;
  // The provider takes numbers from the input's end, so a text is all of its beginning.
  const std::string type_system = brings_type_system ? data.ConsumeRandomLengthString(size) : known;
  (is_counters ? read_counters : copy_events)(client, type_system, data);
  return 0;
}
