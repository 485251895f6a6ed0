#include "host/event_records.h"

#include <cstring>

#include "tallyra/data_serializer.h"

namespace tly::agent {
namespace {

struct Header {
  char magic[4];
  std::uint64_t timestamp_us;
  std::uint8_t schema_index;
  std::uint8_t type_index;
  std::uint8_t count;
};

Header read_header(const std::uint8_t* bytes) {
  Header header{};
  std::memcpy(header.magic, bytes, sizeof header.magic);
  std::memcpy(&header.timestamp_us, bytes + 4, sizeof header.timestamp_us);
  header.schema_index = bytes[12];
  header.type_index = bytes[13];
  header.count = bytes[15];
  return header;
}

const tly_type_definition_t* find_type(const tly_type_system_t& type_system, const Header& header) {
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
    if (records.size() < TLY_EVENTS_HEADER_SIZE) {
      return false;
    }
    const Header header = read_header(records.data());
    const tly_type_definition_t* const type = find_type(type_system, header);
    records = records.subspan(TLY_EVENTS_HEADER_SIZE);
    if (std::memcmp(header.magic, "TLYE", sizeof header.magic) != 0 || type == nullptr ||
        (header.count > 0 && type->size > records.size() / header.count)) {
      return false;
    }
    for (std::size_t i = 0; i < header.count; ++i) {
      visit({header.timestamp_us, type, records.data()});
      records = records.subspan(type->size);
    }
  }
  return true;
}

}  // namespace tly::agent
