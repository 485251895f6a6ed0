#include "host/event_records.h"

#include <cstring>

#include "tallyra/data_serializer.h"

namespace tly::agent {
namespace {

const tly_type_definition_t* find_type(const tly_type_system_t& type_system,
                                       const tly_events_header_t& header) {
  const tly_schema_t* const schema = header.schema_index < type_system.num_schemas
                                         ? type_system.schemas[header.schema_index]
                                         : nullptr;
  return schema != nullptr && header.type_index < schema->num_types
             ? schema->types[header.type_index]
             : nullptr;
}

}  // namespace

bool for_each_event(const tly_type_system_t& type_system, std::span<const std::uint8_t> records,
                    const std::function<void(const Event&)>& visit) {
  while (!records.empty()) {
    tly_events_header_t header{};
    if (records.size() < sizeof header) {
      return false;
    }
    std::memcpy(&header, records.data(), sizeof header);
    std::uint64_t timestamp_us = 0;
    std::memcpy(&timestamp_us, header.timestamp, sizeof timestamp_us);
    const tly_type_definition_t* const type = find_type(type_system, header);
    records = records.subspan(sizeof header);
    if (std::memcmp(header.magic.bytes, "TLYE", sizeof header.magic) != 0 || type == nullptr ||
        (header.count > 0 && type->size > records.size() / header.count)) {
      return false;
    }
    for (std::size_t i = 0; i < header.count; ++i) {
      visit({timestamp_us, type, records.data()});
      records = records.subspan(type->size);
    }
  }
  return true;
}

}  // namespace tly::agent
