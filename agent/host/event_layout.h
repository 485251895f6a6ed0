// Whether records can be read by the event types that a remote provider gives.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "tallyra/type_system.h"

namespace tly::agent {

// Whether every element has room for its type, and the fields have room in the record one beside
// the other. Converting an event then reads nothing outside it, and takes no more work than it is
// long.
inline bool is_packed(const tly_type_definition_t& type) {
  std::uint64_t left = type.size;
  for (const tly_type_field_definition_t* field : std::span(type.fields, type.num_fields)) {
    const std::uint64_t count = std::max<std::uint64_t>(field->array_length, 1);
    if (field->type_reference == nullptr || field->type_reference->size == 0 ||
        field->type_size < field->type_reference->size || field->type_size > left / count ||
        field->offset > type.size || field->type_size > (type.size - field->offset) / count) {
      return false;
    }
    left -= field->type_size * count;
  }
  return true;
}

inline bool is_packed(const tly_schema_t& schema) {
  const std::span types(schema.types, schema.num_types);
  return std::all_of(types.begin(), types.end(), [](const auto* type) { return is_packed(*type); });
}

}  // namespace tly::agent
