#include "types/schema_json.h"

#include <cerrno>
#include <cstring>

#include "common/log.h"
#include "common/printable.h"
#include "common/version_text.h"
#include "encoding/json_builder.h"
#include "tallyra/digest.h"
#include "tallyra/schema.h"
#include "tallyra/version.h"
#include "types/type_decoding.h"

namespace {

using tly::JsonPtr;
using tly::printable;
using tly::SchemaPtr;

constexpr const char* kTitle = "Tallyra schema";
constexpr const char* kFormatVersion = "1.5.0";
constexpr const char* kTemplate =
    R"({"tly_version" : "", "provider_name" : "", "provider_version" : "", "types" : []})";

JSON_Value* encode_type(const tly_schema_t* schema, std::size_t position) noexcept {
  JsonPtr type(tly_type_definition_jsonify(schema->types[position]));
  if (json_object_set_number(json_value_get_object(type.get()), "type_index",
                             static_cast<double>(position)) != JSONSuccess) {
    return nullptr;
  }
  return type.release();
}

// Whether the value looks like an event schema of a version that can be read.
bool is_readable(const JSON_Value* value) noexcept {
  tly::JsonTemplate shape(kTemplate);
  const tly::ShapeCheck result = shape.check(value);
  if (result == tly::ShapeCheck::kUnparsable) {
    TLY_LOG_ERROR("Unable to parse schema to JSON value: '%s'", shape.text());
    return false;
  }
  if (result == tly::ShapeCheck::kDiffers) {
    TLY_LOG_INFO("Not an event schema");
    return false;
  }
  const char* version = json_object_get_string(json_value_get_object(value), "tly_version");
  if (!tly_version_strings_are_compatible(version, kFormatVersion)) {
    TLY_LOG_ERROR("Schema version %s is incompatible with current version %s", version,
                  kFormatVersion);
    return false;
  }
  return true;
}

void log_failed_initialisation(const char* name, int reason) noexcept {
  TLY_LOG_ERROR("Failed to initialize '%s' schema: %s", printable(name), std::strerror(reason));
}

// Appends the types, which are no more than a schema holds.
bool decode_types(const JSON_Array* elements, std::size_t count, tly_schema_t* schema) noexcept {
  tly::TypeTemplates templates;
  for (std::size_t position = 0; position < count; ++position) {
    const JSON_Value* element = json_array_get_value(elements, position);
    if (element == nullptr) {
      TLY_LOG_ERROR("Failed to get type #%d from JSON array", static_cast<int>(position));
      return false;
    }
    tly::TypePtr type = tly::decode_type(element, templates);
    if (type == nullptr) {
      TLY_LOG_ERROR("Failed to deserialize type #%d from JSON array", static_cast<int>(position));
      return false;
    }
    schema->types[schema->num_types++] = type.release();
  }
  return true;
}

bool resolve_references(const tly_schema_t* schema) noexcept {
  for (std::size_t position = 0; position < schema->num_types; ++position) {
    if (!tly_schema_adjust_field_type_references(schema, schema->types[position])) {
      return false;
    }
  }
  return true;
}

// A schema that has no JSON form keeps an unset id. False when memory runs out, which is logged.
bool identify(tly_schema_t* schema) noexcept {
  errno = 0;
  if (!tly_schema_extract_id(schema, &schema->id) && errno == ENOMEM) {
    log_failed_initialisation(schema->provider_name, ENOMEM);
    return false;
  }
  tly_schema_id_to_schema_string(&schema->id, schema->id_string);
  return true;
}

}  // namespace

char* tly_schema_serialize_type_definition(const tly_schema_t* schema, const char* name,
                                           bool pretty) {
  const tly_type_definition_t* type = tly_schema_find_type_definition(schema, name);
  return tly_type_definition_serialize(type, pretty);
}

JSON_Value* tly_schema_jsonify(const tly_schema_t* schema) {
  if (schema == nullptr || schema->num_types == 0) {
    return nullptr;
  }
  tly::JsonObjectBuilder object;
  object.set_required_text("title", kTitle);
  object.set_required_text("tly_version", kFormatVersion);
  object.set_required_text("provider_name", schema->provider_name);
  object.set_required_text("provider_version", tly::VersionText(schema->provider_version).text);
  if (!object.failed()) {
    object.set_value("types",
                     tly::make_json_array(schema->num_types, [schema](std::size_t position) {
                       return encode_type(schema, position);
                     }));
  }
  return object.release();
}

tly_schema_t* tly_schema_from_json(const JSON_Value* value) {
  if (!is_readable(value)) {
    return nullptr;
  }
  const JSON_Object* object = json_value_get_object(value);
  const char* name = json_object_get_string(object, "provider_name");
  const uint32_t version =
      tly_version_from_string(json_object_get_string(object, "provider_version"));
  SchemaPtr schema(tly_create_schema(name, version));
  if (schema == nullptr) {
    const int reason = errno;
    log_failed_initialisation(name, reason);
    return nullptr;
  }
  const JSON_Array* elements = json_object_get_array(object, "types");
  const std::size_t count = json_array_get_count(elements);
  if (count > TLY_MAX_TYPES) {
    TLY_LOG_ERROR("Failed to deserialize schema '%s': number of types %zu exceeds limit %d", name,
                  count, TLY_MAX_TYPES);
    return nullptr;
  }
  return decode_types(elements, count, schema.get()) ? schema.release() : nullptr;
}

tly::SchemaPtr tly::read_schema_file(const char* path) noexcept {
  const JsonPtr value(json_parse_file(path));
  if (value == nullptr) {
    TLY_LOG_ERROR("Failed reading schema JSON from file '%s'", printable(path));
    return nullptr;
  }
  return SchemaPtr(tly_schema_from_json(value.get()));
}

tly_schema_t* tly_schema_load_from_file(const char* path, tly_schema_t* parent) {
  SchemaPtr schema = tly::read_schema_file(path);
  if (schema == nullptr) {
    return nullptr;
  }
  schema->parent = parent;
  if (!resolve_references(schema.get()) || !identify(schema.get())) {
    return nullptr;
  }
  return schema.release();
}

bool tly_schema_extract_id(const tly_schema_t* schema, tly_schema_id_t* id) {
  const JsonPtr value(tly_schema_jsonify(schema));
  return tly_type_system_get_json_schema_id(id, value.get());
}

bool tly_type_system_get_json_schema_id(tly_schema_id_t* id, const JSON_Value* value) {
  const tly::Owned<char, &json_free_serialized_string> text(json_serialize_to_string_pretty(value));
  return tly_get_schema_id_from_pretty_json_string(text.get(), id);
}

bool tly_get_schema_id_from_pretty_json_string(const char* text, tly_schema_id_t* id) {
  if (text == nullptr || id == nullptr) {
    return false;
  }
  tly_MD5(text, std::strlen(text), id->bytes);
  return true;
}
