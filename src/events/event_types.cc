#include "events/event_types.h"

namespace tly {

const tly_schema_t* find_event_schema(const tly_type_system_t* type_system,
                                      std::uint8_t schema_index) noexcept {
  const bool is_held = type_system != nullptr && schema_index < type_system->num_schemas;
  return is_held ? type_system->schemas[schema_index] : nullptr;
}

std::uint64_t event_size(const tly_type_system_t* type_system, std::uint8_t schema_index,
                         std::uint8_t type_index) noexcept {
  const tly_schema_t* const schema = find_event_schema(type_system, schema_index);
  if (schema == nullptr || type_index >= schema->num_types || type_index >= TLY_MAX_TYPES) {
    return 0;
  }
  const tly_type_definition_t* const type = schema->types[type_index];
  return type != nullptr ? type->size : 0;
}

}  // namespace tly
