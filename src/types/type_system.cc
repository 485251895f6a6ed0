#include "tallyra/type_system.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <span>

#include "common/log.h"
#include "common/owned.h"
#include "encoding/json_ptr.h"
#include "types/schema_slots.h"

namespace {

using tly::Owned;

constexpr const char* kBuiltinSchemaName = "<built-in>";
constexpr uint32_t kBuiltinSchemaVersion = 0x501;

// The slots in use.
std::span<tly_schema_t* const> held_schemas(const tly_type_system_t* type_system) noexcept {
  return {type_system->schemas, type_system->num_schemas};
}

void store_index(uint8_t* index, std::size_t slot) noexcept {
  if (index != nullptr) {
    *index = static_cast<uint8_t>(slot);
  }
}

uint64_t largest_type_of(const tly_schema_t* schema) noexcept {
  uint64_t largest = 0;
  for (const tly_type_definition_t* type : std::span(schema->types, schema->num_types)) {
    largest = std::max(largest, type->size);
  }
  return largest;
}

bool move_schema(tly_type_system_t* destination, tly_schema_t* schema, uint8_t* index) noexcept {
  if (!tly::has_free_slot(destination) ||
      !tly_type_system_adjust_type_references(destination, schema)) {
    TLY_LOG_ERROR("Cannot add schema to type system");
    return false;
  }
  tly::store_schema(destination, schema, index);
  return true;
}

}  // namespace

bool tly::has_free_slot(const tly_type_system_t* type_system) noexcept {
  return type_system->num_schemas < TLY_MAX_SCHEMAS;
}

void tly::store_schema(tly_type_system_t* type_system, tly_schema_t* schema,
                       uint8_t* index) noexcept {
  store_index(index, type_system->num_schemas);
  type_system->schemas[type_system->num_schemas++] = schema;
}

std::size_t tly::find_schema_slot(const tly_type_system_t* type_system,
                                  const tly_schema_id_t& id) noexcept {
  const auto held = held_schemas(type_system);
  const auto found = std::find_if(held.begin(), held.end(), [&id](const tly_schema_t* schema) {
    return tly_compare_schema_id(&schema->id, &id) == 0;
  });
  return static_cast<std::size_t>(found - held.begin());
}

tly_type_system_t* tly_create_type_system(void) {
  Owned<tly_type_system_t, &tly_destroy_type_system> type_system(
      tly::allocate_zeroed<tly_type_system_t>().release());
  if (type_system == nullptr) {
    return nullptr;
  }
  type_system->builtin_schema = tly_create_schema(kBuiltinSchemaName, kBuiltinSchemaVersion);
  if (type_system->builtin_schema == nullptr) {
    return nullptr;
  }
  if (!tly_builtin_type_register_types(type_system.get())) {
    TLY_LOG_ERROR("Failed to register built-in types");
    return nullptr;
  }
  type_system->counters_schema = tly_create_counters_schema();
  if (type_system->counters_schema == nullptr) {
    TLY_LOG_ERROR("Failed to create counters schema object");
    return nullptr;
  }
  return type_system.release();
}

void tly_destroy_type_system(tly_type_system_t* type_system) {
  if (type_system == nullptr) {
    return;
  }
  for (tly_schema_t*& schema : type_system->schemas) {
    tly_destroy_schema(schema);
    schema = nullptr;
  }
  tly_destroy_schema(type_system->builtin_schema);
  tly_destroy_counters_schema(type_system->counters_schema);
  std::free(type_system);
}

bool tly_builtin_type_register_types(tly_type_system_t* type_system) {
  if (type_system == nullptr || type_system->builtin_schema == nullptr) {
    return false;
  }
  tly_schema_t* schema = type_system->builtin_schema;
  const auto room =
      static_cast<uint8_t>(TLY_MAX_TYPES - std::min<int>(schema->num_types, TLY_MAX_TYPES));
  tly_type_definition_t* made[TLY_MAX_TYPES]{};
  const int32_t count = tly_builtin_type_get_type_defs(made, room);
  if (count < 0) {
    std::for_each(made, std::find(made, std::end(made), nullptr), &tly_destroy_type_definition);
    return false;
  }
  std::copy_n(made, count, schema->types + schema->num_types);
  schema->num_types = static_cast<uint8_t>(schema->num_types + count);
  const auto next_id = static_cast<uint32_t>(count) + 1;
  return tly_builtin_type_name(next_id) == nullptr;
}

tly_schema_t* tly_type_system_add_schema(tly_type_system_t* type_system, const char* provider_name,
                                         uint32_t provider_version, uint8_t* index) {
  if (type_system == nullptr || !tly::has_free_slot(type_system)) {
    return nullptr;
  }
  tly_schema_t* schema = tly_create_schema(provider_name, provider_version);
  if (schema == nullptr) {
    return nullptr;
  }
  schema->parent = type_system->builtin_schema;
  tly_schema_extract_id(schema, &schema->id);
  tly_schema_id_to_schema_string(&schema->id, schema->id_string);
  tly::store_schema(type_system, schema, index);
  return schema;
}

bool tly_type_system_adjust_type_references(tly_type_system_t* type_system, tly_schema_t* schema) {
  if (type_system == nullptr || schema == nullptr) {
    return false;
  }
  if (schema != type_system->builtin_schema) {  // it has no parent, least of all itself
    schema->parent = type_system->builtin_schema;
  }
  const std::span types(schema->types, schema->num_types);
  return std::all_of(types.begin(), types.end(), [schema](tly_type_definition_t* type) {
    return tly_schema_adjust_field_type_references(schema, type);
  });
}

int tly_type_system_clone_schemas(tly_type_system_t* destination, const tly_type_system_t* source,
                                  uint8_t* index) {
  if (destination == nullptr || source == nullptr) {
    return -1;
  }
  const auto moved = held_schemas(source);
  if (destination == source && !moved.empty()) {
    // It would hold each of them twice.
    TLY_LOG_ERROR("Cannot add schema to type system");
    return -1;
  }
  const bool all_moved = std::all_of(moved.begin(), moved.end(), [&](tly_schema_t* schema) {
    return move_schema(destination, schema, index);
  });
  return all_moved ? 0 : -1;
}

uint32_t tly_type_system_get_max_event_type_size(const tly_type_system_t* type_system) {
  if (type_system == nullptr) {
    return 0;
  }
  uint64_t largest = 0;
  for (const tly_schema_t* schema : held_schemas(type_system)) {
    largest = std::max(largest, largest_type_of(schema));
  }
  return static_cast<uint32_t>(std::min<uint64_t>(largest, UINT32_MAX));
}

uint32_t tly_type_system_max_type_size(const tly_type_system_t* type_system) {
  const uint32_t of_events = tly_type_system_get_max_event_type_size(type_system);
  if (type_system == nullptr || type_system->counters_schema == nullptr) {
    return of_events;
  }
  return std::max(of_events, type_system->counters_schema->size_of_counters);
}

void tly_type_system_update_md5_hashes(tly_type_system_t* type_system) {
  if (type_system == nullptr) {
    return;
  }
  for (tly_schema_t* schema : held_schemas(type_system)) {
    tly_schema_extract_id(schema, &schema->id);
    tly_schema_id_to_schema_string(&schema->id, schema->id_string);
  }
}

bool tly_type_system_find_schema(const tly_type_system_t* type_system, const char* id_string,
                                 uint8_t* index) {
  if (type_system == nullptr || id_string == nullptr) {
    return false;
  }
  const auto held = held_schemas(type_system);
  const auto found = std::find_if(held.begin(), held.end(), [id_string](const auto* schema) {
    return std::strcmp(schema->id_string, id_string) == 0;
  });
  if (found == held.end()) {
    return false;
  }
  TLY_LOG_DEBUG("Schema already exists %s", id_string);
  store_index(index, static_cast<std::size_t>(found - held.begin()));
  return true;
}

bool tly_calc_counters_schema_id(tly_schema_id_t* id,
                                 const tly_counters_schema_t* counters_schema) {
  const tly::JsonPtr value(tly_counters_schema_jsonify(counters_schema));
  return value != nullptr && tly_type_system_get_json_schema_id(id, value.get());
}

void tly_type_system_fill_counter_schema_id(tly_type_system_t* type_system, tly_schema_id_t* id) {
  if (type_system == nullptr || id == nullptr || type_system->counters_schema == nullptr) {
    return;
  }
  if (tly_schema_id_is_unset(&type_system->counters_schema_id)) {
    tly_calc_counters_schema_id(&type_system->counters_schema_id, type_system->counters_schema);
  }
  tly_copy_schema_id(id, &type_system->counters_schema_id);
}
