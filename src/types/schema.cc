#include "tallyra/schema.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <span>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "common/log.h"
#include "common/printable.h"
#include "types/owned_types.h"

namespace {

using tly::printable;
using FieldInfos = std::span<const tly_type_field_info_t>;

constexpr const char* kAddType = "tly_schema_add_type";
constexpr const char* kSetFieldIndexes = "tly_schema_set_field_indexes";

bool is_named(const char* name, const char* other) noexcept {
  return name != nullptr && other != nullptr && std::strcmp(name, other) == 0;
}

bool all_types_are_defined(const tly_schema_t* schema, const char* name,
                           FieldInfos infos) noexcept {
  for (const tly_type_field_info_t& info : infos) {
    if (tly_schema_find_type_definition(schema, info.type_name) == nullptr) {
      TLY_LOG_ERROR("Unable to register type '%s': type '%s' of the field '%s' is undefined", name,
                    printable(info.type_name), printable(info.field_name));
      return false;
    }
  }
  return true;
}

// The first field that has the name of one before it, or the end.
FieldInfos::iterator find_repeated_name(FieldInfos infos) {
  std::unordered_set<std::string_view> names;
  return std::find_if(infos.begin(), infos.end(), [&names](const tly_type_field_info_t& info) {
    return info.field_name != nullptr && !names.insert(info.field_name).second;
  });
}

int check_new_type(const tly_schema_t* schema, const char* name, FieldInfos infos) {
  if (schema->num_types >= TLY_MAX_TYPES) {
    TLY_LOG_ERROR("[%s] Unable to add new type, reached TLY_MAX_TYPES. schema->num_types = %d",
                  kAddType, schema->num_types);
    return TLY_SCHEMA_FULL;
  }
  if (tly_schema_find_type_definition(schema, name) != nullptr) {
    const char* provider = schema->provider_name;
    TLY_LOG_ERROR("Schema '%s' already contains type '%s'",
                  provider != nullptr ? provider : "<undefined>", name);
    return TLY_SCHEMA_NAME_TAKEN;
  }
  if (!all_types_are_defined(schema, name, infos)) {
    return TLY_SCHEMA_UNDEFINED;
  }
  const auto repeated = find_repeated_name(infos);
  if (repeated != infos.end()) {
    TLY_LOG_ERROR("[%s] Failed to register new type '%s': field name '%s' occurs more than once.",
                  kAddType, name, repeated->field_name);
    return TLY_SCHEMA_NAME_TAKEN;
  }
  return TLY_SCHEMA_SUCCESS;
}

// Null when memory runs out, which is logged.
tly::TypePtr make_type(const char* name, std::size_t count) noexcept {
  tly::TypePtr type(tly_create_type_definition());
  if (type == nullptr || !tly::duplicate_text(name, &type->name)) {
    TLY_LOG_ERROR("[%s] cannot allocate type definition", kAddType);
    return nullptr;
  }
  if (!tly::allocate_fields(type.get(), count)) {
    TLY_LOG_ERROR("[%s] cannot allocate fields for type definition", kAddType);
    return nullptr;
  }
  return type;
}

// Lays out a field after the type's present ones. False when the field's bytes, or the record's,
// could not be counted in 64 bits.
bool lay_out(tly_type_definition_t* type, tly_type_field_definition_t* field) noexcept {
  const uint64_t element_size = field->type_reference->size;
  const uint64_t room = std::numeric_limits<uint64_t>::max() - type->size;
  if (field->array_length != 0 && element_size > room / field->array_length) {
    return false;
  }
  field->offset = type->size;
  field->type_size = element_size;
  type->size += field->array_length * element_size;
  return true;
}

bool add_field(const tly_schema_t* schema, tly_type_definition_t* type,
               const tly_type_field_info_t& info) noexcept {
  const int position = type->num_fields;
  tly::FieldPtr field(tly_type_field_definition_from_info(&info));
  if (field != nullptr) {
    field->type_reference = tly_schema_find_type_definition(schema, field->type_name);
    if (field->type_reference == nullptr) {
      TLY_LOG_ERROR("[%s] cannot find type_definition of type_field_definition '%s', number %d",
                    kAddType, printable(field->type_name), position);
      return false;
    }
  }
  if (field == nullptr || !lay_out(type, field.get())) {
    TLY_LOG_ERROR("[%s] cannot get type definition from fields_info[%d]", kAddType, position);
    return false;
  }
  tly::append_field(type, std::move(field));
  return true;
}

bool arguments_are_valid(const tly_schema_t* schema, uint8_t type_index,
                         const char* const* names) noexcept {
  if (schema == nullptr) {
    TLY_LOG_ERROR("[%s] Schema pointer is NULL!", kSetFieldIndexes);
    return false;
  }
  if (names == nullptr) {
    TLY_LOG_ERROR("[%s] Index names array is NULL!", kSetFieldIndexes);
    return false;
  }
  if (type_index >= schema->num_types) {
    const unsigned last = schema->num_types > 0 ? schema->num_types - 1U : 0U;
    TLY_LOG_ERROR("[%s] Invalid type_index: %u (out of range, max: %u)", kSetFieldIndexes,
                  static_cast<unsigned>(type_index), last);
    return false;
  }
  return true;
}

}  // namespace

tly_schema_t* tly_create_schema(const char* provider_name, uint32_t provider_version) {
  tly::Owned<tly_schema_t, &tly_destroy_schema> schema(
      tly::allocate_zeroed<tly_schema_t>().release());
  if (schema == nullptr || !tly::duplicate_text(provider_name, &schema->provider_name)) {
    return nullptr;
  }
  schema->provider_version = provider_version;
  TLY_LOG_DEBUG("clearing md5_digest of schema: %p", static_cast<void*>(schema.get()));
  return schema.release();
}

void tly_destroy_schema(tly_schema_t* schema) {
  if (schema == nullptr) {
    return;
  }
  for (tly_type_definition_t* type : std::span(schema->types, schema->num_types)) {
    tly_destroy_type_definition(type);
  }
  std::free(schema->provider_name);
  std::free(schema);
}

tly_type_definition_t* tly_schema_find_type_definition(const tly_schema_t* schema,
                                                       const char* name) {
  for (; schema != nullptr; schema = schema->parent) {
    for (tly_type_definition_t* type : std::span(schema->types, schema->num_types)) {
      if (is_named(type->name, name)) {
        return type;
      }
    }
  }
  return nullptr;
}

uint64_t tly_schema_sizeof_type(const tly_schema_t* schema, const char* name) {
  const tly_type_definition_t* type = tly_schema_find_type_definition(schema, name);
  return type != nullptr ? type->size : 0;
}

int tly_schema_add_type(tly_schema_t* schema, const char* name, const tly_type_field_info_t* fields,
                        uint64_t count, uint8_t* index) try {
  if (schema == nullptr || name == nullptr || (fields == nullptr && count > 0)) {
    TLY_LOG_ERROR("[%s] cannot allocate type definition", kAddType);
    return TLY_SCHEMA_ALLOCATION_FAILED;
  }
  const FieldInfos infos(fields, count);
  const int status = check_new_type(schema, name, infos);
  if (status != TLY_SCHEMA_SUCCESS) {
    return status;
  }
  tly::TypePtr type = make_type(name, infos.size());
  if (type == nullptr ||
      !std::all_of(infos.begin(), infos.end(), [&](const tly_type_field_info_t& info) {
        return add_field(schema, type.get(), info);
      })) {
    return TLY_SCHEMA_ALLOCATION_FAILED;
  }
  if (index != nullptr) {
    *index = schema->num_types;
  }
  schema->types[schema->num_types++] = type.release();
  return TLY_SCHEMA_SUCCESS;
} catch (const std::bad_alloc&) {
  TLY_LOG_ERROR("[%s] cannot allocate fields for type definition", kAddType);
  return TLY_SCHEMA_ALLOCATION_FAILED;
}

int tly_schema_set_field_indexes(tly_schema_t* schema, uint8_t type_index, const char* const* names,
                                 uint64_t count) {
  if (!arguments_are_valid(schema, type_index, names)) {
    return TLY_SCHEMA_UNDEFINED;
  }
  const tly_type_definition_t* type = schema->types[type_index];
  const std::span fields(type->fields, type->num_fields);
  for (tly_type_field_definition_t* field : fields) {
    field->index = 0;
  }
  uint64_t assigned = 0;
  for (const char* name : std::span(names, count)) {
    const auto found = std::find_if(fields.begin(), fields.end(), [name](const auto* field) {
      return is_named(field->field_name, name);
    });
    if (found != fields.end()) {
      (*found)->index = static_cast<uint16_t>(std::min<uint64_t>(++assigned, UINT16_MAX));
    }
  }
  if (assigned != count) {
    TLY_LOG_ERROR("Mismatch in assigned indices: expected %zu, but assigned %u.",
                  static_cast<std::size_t>(count), static_cast<unsigned>(assigned));
    return TLY_SCHEMA_UNDEFINED;
  }
  return TLY_SCHEMA_SUCCESS;
}

bool tly_schema_adjust_field_type_references(const tly_schema_t* schema,
                                             tly_type_definition_t* type) {
  if (schema == nullptr || type == nullptr) {
    return false;
  }
  for (tly_type_field_definition_t* field : std::span(type->fields, type->num_fields)) {
    const tly_type_definition_t* found = tly_schema_find_type_definition(schema, field->type_name);
    if (found == nullptr) {
      TLY_LOG_ERROR("Definition of type %s not found within the schema %s",
                    printable(field->type_name), printable(schema->provider_name));
      return false;
    }
    field->type_reference = found;
  }
  return true;
}

bool tly_schema_register_builtin_types(tly_schema_t* schema) {
  if (schema == nullptr || schema->num_types > 0) {
    return false;
  }
  const int32_t count = tly_builtin_type_get_type_defs(schema->types, TLY_MAX_TYPES);
  if (count < 0) {
    for (tly_type_definition_t*& type : schema->types) {
      tly_destroy_type_definition(std::exchange(type, nullptr));
    }
    return false;
  }
  schema->num_types = static_cast<uint8_t>(count);
  return true;
}
