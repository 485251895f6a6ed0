// Records as JSON: the input is the text of a schema, a NUL, and the bytes of records.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "checks.h"
#include "encoding/json_ptr.h"
#include "host/event_layout.h"
#include "tallyra/type_system.h"

namespace {

using tly::JsonPtr;
using tly::fuzz::require;
using TypeSystemPtr = tly::Owned<tly_type_system_t, &tly_destroy_type_system>;

constexpr uint64_t kMaxRecord = 4096;

// What became of each field is what the field alone becomes; the last of a name counts.
void check_record(const tly_type_definition_t& type, const std::vector<uint8_t>& record) {
  const JsonPtr value(tly_type_definition_jsonify_data(&type, record.data()));
  const JSON_Object* const members = json_value_get_object(value.get());
  require(json_object_get_count(members) <= type.num_fields);
  for (uint16_t i = type.num_fields; value != nullptr && i-- > 0;) {
    const tly_type_field_definition_t& field = *type.fields[i];
    const JSON_Value* const member = json_object_get_value(members, field.field_name);
    const auto has_its_name = [&](const tly_type_field_definition_t* other) {
      return std::strcmp(other->field_name, field.field_name) == 0;
    };
    if (std::none_of(type.fields + i + 1, type.fields + type.num_fields, has_its_name)) {
      const JsonPtr alone(
          tly_type_field_definition_jsonify_data(&field, record.data() + field.offset));
      require(member != nullptr && json_value_equals(member, alone.get()) == 1);
      require(json_array_get_count(json_array(member)) % field.array_length == 0);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(data, data + size);
  const std::size_t text_size = std::min(input.find('\0'), size);
  const std::string bytes = input.substr(std::min(text_size + 1, size)) + '\0';
  const TypeSystemPtr types(tly_create_type_system());
  uint8_t index = 0;
  if (tly_type_system_add_schema_from_serialized_json(types.get(), input.c_str(), &index) != 0 ||
      index == TLY_COUNTERS_SCHEMA_INDEX) {
    return 0;
  }
  const tly_schema_t& schema = *types->schemas[index];
  // What a caller vouches for, so that a record holds all that is read of it.
  if (!tly::agent::is_packed(schema)) {
    return 0;
  }
  for (const tly_type_definition_t* const type : std::span(schema.types, schema.num_types)) {
    std::vector<uint8_t> record(std::min(type->size, kMaxRecord + 1));
    for (std::size_t i = 0; i < record.size(); ++i) {
      record[i] = static_cast<uint8_t>(bytes[i % bytes.size()]);
    }
    if (record.size() <= kMaxRecord) {
      check_record(*type, record);
    }
  }
  return 0;
}
