#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "common/log.h"
#include "common/numeric.h"
#include "encoding/json_builder.h"
#include "tallyra/type_definition.h"
#include "types/type_decoding.h"

namespace {

using tly::ShapeCheck;

template <typename T>
T number_of(const JSON_Object* object, const char* key) noexcept {
  return tly::saturate_to<T>(json_object_get_number(object, key));
}

bool has_field_shape(const JSON_Value* value, tly::TypeTemplates& templates) noexcept {
  const ShapeCheck indexed = templates.indexed_field.check(value);
  if (indexed == ShapeCheck::kMatches) {
    return true;
  }
  if (indexed == ShapeCheck::kUnparsable) {
    TLY_LOG_ERROR("Unable to parse schema to JSON value: '%s'", templates.indexed_field.text());
    return false;
  }
  const ShapeCheck plain = templates.field.check(value);
  if (plain == ShapeCheck::kUnparsable) {
    TLY_LOG_ERROR("Unable to parse schema to JSON value (without index): '%s'",
                  templates.field.text());
  } else if (plain == ShapeCheck::kDiffers) {
    TLY_LOG_ERROR("Field definition JSON does not match schema with or without 'index'.");
  }
  return plain == ShapeCheck::kMatches;
}

bool has_type_shape(const JSON_Value* value, tly::JsonTemplate& type_template) noexcept {
  const ShapeCheck result = type_template.check(value);
  if (result == ShapeCheck::kUnparsable) {
    TLY_LOG_ERROR("Unable to parse schema to JSON value: '%s'", type_template.text());
  } else if (result == ShapeCheck::kDiffers) {
    TLY_LOG_ERROR("Type definition JSON does not match schema '%s'", type_template.text());
  }
  return result == ShapeCheck::kMatches;
}

bool decode_fields(const JSON_Array* elements, tly_type_definition_t* type,
                   tly::TypeTemplates& templates) noexcept {
  const std::size_t count = json_array_get_count(elements);
  if (!tly::allocate_fields(type, count)) {
    return false;
  }
  for (std::size_t index = 0; index < count; ++index) {
    tly::FieldPtr field = tly::decode_field(json_array_get_value(elements, index), templates);
    if (field == nullptr) {
      return false;
    }
    tly::append_field(type, std::move(field));
  }
  return true;
}

}  // namespace

JSON_Value* tly_type_field_definition_jsonify(const tly_type_field_definition_t* field) {
  if (field == nullptr) {
    return nullptr;
  }
  tly::JsonObjectBuilder object;
  object.set_required_text("field_name", field->field_name);
  object.set_required_text("description", field->description);
  object.set_required_text("type_name", field->type_name);
  object.set_required_text("counting_mode", tly_value_type_string(field->counting_mode));
  if (field->array_length > 1) {
    object.set_number("array_length", field->array_length);
  }
  object.set_number("offset", static_cast<double>(field->offset));
  object.set_number("type_size", static_cast<double>(field->type_size));
  object.set_number("index", field->index);
  return object.release();
}

JSON_Value* tly_type_definition_jsonify(const tly_type_definition_t* type) {
  if (type == nullptr) {
    return nullptr;
  }
  tly::JsonObjectBuilder object;
  object.set_required_text("name", type->name);
  object.set_number("size", static_cast<double>(type->size));
  if (!object.failed()) {
    object.set_value("fields", tly::make_json_array(type->num_fields, [type](std::size_t index) {
                       return tly_type_field_definition_jsonify(type->fields[index]);
                     }));
  }
  return object.release();
}

char* tly_type_definition_serialize(const tly_type_definition_t* type, bool pretty) {
  const tly::JsonPtr value(tly_type_definition_jsonify(type));
  return pretty ? json_serialize_to_string_pretty(value.get())
                : json_serialize_to_string(value.get());
}

tly::FieldPtr tly::decode_field(const JSON_Value* value, TypeTemplates& templates) noexcept {
  if (!has_field_shape(value, templates)) {
    return nullptr;
  }
  FieldPtr field(tly_create_type_field_definition());
  if (field == nullptr) {
    const int reason = errno;
    TLY_LOG_ERROR("Failed to allocate field definition: %s", std::strerror(reason));
    return nullptr;
  }
  const JSON_Object* object = json_value_get_object(value);
  field->array_length = std::max<uint16_t>(number_of<uint16_t>(object, "array_length"), 1);
  field->counting_mode =
      tly_value_type_from_string(json_object_get_string(object, "counting_mode"));
  field->type_size = number_of<uint64_t>(object, "type_size");
  field->offset = number_of<uint64_t>(object, "offset");
  field->index = number_of<uint16_t>(object, "index");
  if (!duplicate_text(json_object_get_string(object, "field_name"), &field->field_name) ||
      !duplicate_text(json_object_get_string(object, "description"), &field->description) ||
      !duplicate_text(json_object_get_string(object, "type_name"), &field->type_name)) {
    return nullptr;
  }
  return field;
}

tly::TypePtr tly::decode_type(const JSON_Value* value, TypeTemplates& templates) noexcept {
  if (!has_type_shape(value, templates.type)) {
    return nullptr;
  }
  TypePtr type(tly_create_type_definition());
  if (type == nullptr) {
    const int reason = errno;
    TLY_LOG_ERROR("Failed to allocate type definition object: %s", std::strerror(reason));
    return nullptr;
  }
  const JSON_Object* object = json_value_get_object(value);
  type->size = number_of<uint64_t>(object, "size");
  if (!duplicate_text(json_object_get_string(object, "name"), &type->name) || type->size == 0 ||
      !decode_fields(json_object_get_array(object, "fields"), type.get(), templates)) {
    return nullptr;
  }
  return type;
}

tly_type_field_definition_t* tly_type_field_definition_from_json(const JSON_Value* value) {
  tly::TypeTemplates templates;
  return tly::decode_field(value, templates).release();
}

tly_type_definition_t* tly_type_definition_from_json(const JSON_Value* value) {
  tly::TypeTemplates templates;
  return tly::decode_type(value, templates).release();
}
