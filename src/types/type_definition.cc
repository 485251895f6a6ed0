#include "tallyra/type_definition.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "types/owned_types.h"

namespace {

// Null when memory runs out.
tly::TypePtr make_builtin_definition(uint32_t builtin_id) noexcept {
  tly::TypePtr type(tly_create_type_definition());
  if (type == nullptr || !tly::duplicate_text(tly_builtin_type_name(builtin_id), &type->name)) {
    return nullptr;
  }
  type->builtin_id = builtin_id;
  type->size = tly_builtin_type_size(builtin_id);
  return type;
}

}  // namespace

bool tly::allocate_fields(tly_type_definition_t* type, std::size_t count) noexcept {
  if (count == 0) {
    return true;
  }
  if (count > UINT16_MAX) {
    return false;
  }
  using FieldPointer = tly_type_field_definition_t*;
  type->fields = static_cast<FieldPointer*>(std::calloc(count, sizeof(FieldPointer)));
  return type->fields != nullptr;
}

void tly::append_field(tly_type_definition_t* type, FieldPtr field) noexcept {
  type->fields[type->num_fields++] = field.release();
}

int32_t tly_builtin_type_get_type_defs(tly_type_definition_t** definitions, uint8_t max) {
  int32_t count = 0;
  // Built-in ids are consecutive, from 1.
  for (uint32_t id = 1; count < max && tly_builtin_type_name(id) != nullptr; ++id) {
    tly::TypePtr type = make_builtin_definition(id);
    if (type == nullptr) {
      return -1;
    }
    definitions[count++] = type.release();
  }
  return count;
}

tly_type_field_definition_t* tly_create_type_field_definition(void) {
  return tly::allocate_zeroed<tly_type_field_definition_t>().release();
}

void tly_destroy_type_field_definition(tly_type_field_definition_t* field) {
  if (field == nullptr) {
    return;
  }
  std::free(field->field_name);
  std::free(field->description);
  std::free(field->type_name);
  std::free(field);
}

tly_type_definition_t* tly_create_type_definition(void) {
  return tly::allocate_zeroed<tly_type_definition_t>().release();
}

void tly_destroy_type_definition(tly_type_definition_t* type) {
  if (type == nullptr) {
    return;
  }
  for (std::size_t index = 0; index < type->num_fields; ++index) {
    tly_destroy_type_field_definition(type->fields[index]);
  }
  std::free(type->name);
  std::free(type->fields);
  std::free(type);
}

tly_type_field_definition_t* tly_type_field_definition_from_info(
    const tly_type_field_info_t* info) {
  if (info == nullptr) {
    return nullptr;
  }
  tly::FieldPtr field(tly_create_type_field_definition());
  if (field == nullptr) {
    return nullptr;
  }
  field->counting_mode = info->counting_mode;
  field->array_length = info->array_length;
  if (!tly::duplicate_text(info->description, &field->description) ||
      !tly::duplicate_text(info->field_name, &field->field_name) ||
      !tly::duplicate_text(info->type_name, &field->type_name)) {
    return nullptr;
  }
  return field.release();
}
