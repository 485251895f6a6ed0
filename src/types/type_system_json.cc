#include <cerrno>
#include <cstring>
#include <utility>

#include "common/log.h"
#include "common/owned.h"
#include "common/printable.h"
#include "common/version_text.h"
#include "encoding/json_builder.h"
#include "tallyra/digest.h"
#include "tallyra/type_system.h"
#include "tallyra/version.h"
#include "types/schema_json.h"
#include "types/schema_slots.h"

namespace {

using tly::JsonPtr;
using tly::Owned;
using tly::printable;
using CountersSchemaPtr = Owned<tly_counters_schema_t, &tly_destroy_counters_schema>;
using tly::SchemaPtr;
using TypeSystemPtr = Owned<tly_type_system_t, &tly_destroy_type_system>;

constexpr const char* kName = "Tallyra type system";
constexpr const char* kVersion = "1.5.0";
constexpr uint32_t kOldestReadableVersion = 0x401;

// The array of the schemas' JSON forms, without those that have none; null when memory runs out,
// since an id of a document that lacks a schema for that reason would be wrong.
JsonPtr encode_schemas(const tly_type_system_t* type_system) noexcept {
  JsonPtr array(json_value_init_array());
  if (array == nullptr) {
    return nullptr;
  }
  JSON_Array* elements = json_value_get_array(array.get());
  for (std::size_t slot = 0; slot < type_system->num_schemas; ++slot) {
    errno = 0;
    JsonPtr schema(tly_schema_jsonify(type_system->schemas[slot]));
    if (schema == nullptr) {
      if (errno == ENOMEM) {
        return nullptr;
      }
      continue;
    }
    if (json_array_append_value(elements, schema.get()) != JSONSuccess) {
      return nullptr;
    }
    static_cast<void>(schema.release());
  }
  return array;
}

void replace_counters_schema(tly_type_system_t* type_system, CountersSchemaPtr schema) noexcept {
  tly_destroy_counters_schema(type_system->counters_schema);
  type_system->counters_schema = schema.release();
  tly_reset_schema_id(&type_system->counters_schema_id);
}

// Stores the schema of the text unless one with the text's digest is held already.
bool add_event_schema(tly_type_system_t* type_system, SchemaPtr schema, const char* text,
                      uint8_t* index) noexcept {
  tly_MD5(text, std::strlen(text), schema->id.bytes);
  const std::size_t slot = tly::find_schema_slot(type_system, schema->id);
  if (slot < type_system->num_schemas) {
    TLY_LOG_DEBUG("Schema already exists");
    if (index != nullptr) {
      *index = static_cast<uint8_t>(slot);
    }
    return true;
  }
  TLY_LOG_DEBUG("FOUND EVENTS SCHEMA");
  tly_schema_id_to_schema_string(&schema->id, schema->id_string);
  if (!tly_type_system_adjust_type_references(type_system, schema.get())) {
    return false;
  }
  tly::store_schema(type_system, schema.release(), index);
  return true;
}

// Whether the document is an object of a version that can be read.
bool is_readable(const JSON_Object* object) noexcept {
  if (object == nullptr) {
    TLY_LOG_ERROR("[ts] Failed to deserialize: schema is not a JSON object");
    return false;
  }
  const char* version = json_object_get_string(object, "version");
  if (version == nullptr) {
    TLY_LOG_ERROR("[ts] Failed to deserialize: missing Tallyra schema version");
    return false;
  }
  if (tly_version_compare(tly_version_from_string(version), kOldestReadableVersion) < 0) {
    TLY_LOG_ERROR(
        "[ts] Failed to deserialize: schema version %s is incompatible with the deserializer, the "
        "minimal supported schema version is %s",
        version, tly::VersionText(kOldestReadableVersion).text);
    return false;
  }
  return true;
}

bool decode_counters(const JSON_Value* value, tly_type_system_t* type_system,
                     const char* failure) noexcept {
  type_system->counters_schema = tly_counters_schema_from_json(value);
  if (type_system->counters_schema == nullptr) {
    TLY_LOG_ERROR("[ts] Failed to deserialize: %s", failure);
    return false;
  }
  return true;
}

bool decode_schema(const JSON_Value* element, std::size_t position,
                   tly_type_system_t* type_system) noexcept {
  if (element == nullptr) {
    TLY_LOG_ERROR("[ts] Failed to deserialize: unable to get schema #%d from the array",
                  static_cast<int>(position));
    return false;
  }
  tly_schema_t* schema = tly_schema_from_json(element);
  if (schema == nullptr) {
    TLY_LOG_ERROR("[ts] Failed to deserialize: unable to decode type schema");
    return false;
  }
  if (!tly_type_system_get_json_schema_id(&schema->id, element)) {
    TLY_LOG_ERROR("[ts] Failed to fill schema '%s' md5 digest", printable(schema->provider_name));
  }
  tly::store_schema(type_system, schema, nullptr);
  if (!tly_type_system_adjust_type_references(type_system, schema)) {
    TLY_LOG_ERROR("[ts] Failed to deserialize: unable to adjust type fields of schema %s",
                  printable(schema->provider_name));
    return false;
  }
  return true;
}

bool decode_schemas(const JSON_Array* elements, tly_type_system_t* type_system) noexcept {
  const std::size_t count = json_array_get_count(elements);
  if (count > TLY_MAX_SCHEMAS) {
    TLY_LOG_ERROR("[ts] Failed to deserialize: number of schemas %zu exceeds limit %d", count,
                  TLY_MAX_SCHEMAS);
    return false;
  }
  for (std::size_t position = 0; position < count; ++position) {
    if (!decode_schema(json_array_get_value(elements, position), position, type_system)) {
      return false;
    }
  }
  return true;
}

// Reads the document into a type system that holds no schemas. What was decoded before a failure
// stays in it.
bool decode_document(const JSON_Value* value, tly_type_system_t* type_system) noexcept {
  const JSON_Object* object = json_value_get_object(value);
  const JSON_Value* counters = json_object_get_value(object, "counters_schema");
  const JSON_Array* schemas = json_object_get_array(object, "schemas");
  if (counters != nullptr) {
    return decode_counters(counters, type_system, "unable to decode counters schema") &&
           (schemas == nullptr || decode_schemas(schemas, type_system));
  }
  if (schemas != nullptr) {
    return decode_schemas(schemas, type_system);
  }
  if (json_object_get_array(object, "counter_groups") != nullptr) {
    return decode_counters(value, type_system, "unable to decode JSON as counters schema");
  }
  TLY_LOG_ERROR(
      "[schema writer] schema was not recognized neither as type system nor as counters schema");
  return false;
}

}  // namespace

int tly_type_system_add_schema_from_serialized_json(tly_type_system_t* type_system,
                                                    const char* text, uint8_t* index) {
  if (type_system == nullptr || !tly::has_free_slot(type_system)) {
    return -1;
  }
  const JsonPtr value(json_parse_string(text));
  if (value == nullptr) {
    TLY_LOG_ERROR("Failed to read schemas as JSON");
    return -1;
  }
  SchemaPtr event_schema(tly_schema_from_json(value.get()));
  CountersSchemaPtr counters_schema(tly_counters_schema_from_json(value.get()));
  if (counters_schema != nullptr) {
    TLY_LOG_DEBUG("FOUND COUNTERS SCHEMA");
    replace_counters_schema(type_system, std::move(counters_schema));
    if (index != nullptr) {
      *index = TLY_COUNTERS_SCHEMA_INDEX;
    }
    return 0;
  }
  if (event_schema == nullptr) {
    TLY_LOG_ERROR("Failed to convert schema from JSON to internal memory representation");
    return -1;
  }
  return add_event_schema(type_system, std::move(event_schema), text, index) ? 0 : -1;
}

tly_schema_t* tly_type_system_load_schema(tly_type_system_t* type_system, const char* path) {
  if (type_system == nullptr) {
    return nullptr;
  }
  if (!tly::has_free_slot(type_system)) {
    TLY_LOG_ERROR("Failed to load schema: schema limit exceeded '%u'", type_system->num_schemas);
    return nullptr;
  }
  SchemaPtr schema = tly::read_schema_file(path);
  if (schema == nullptr) {
    return nullptr;
  }
  if (!tly_type_system_adjust_type_references(type_system, schema.get())) {
    TLY_LOG_ERROR("Failed to adjust type fields within schema %s",
                  printable(schema->provider_name));
    return nullptr;
  }
  tly::store_schema(type_system, schema.get(), nullptr);
  return schema.release();
}

JSON_Value* tly_type_system_jsonify(const tly_type_system_t* type_system) {
  if (type_system == nullptr) {
    return nullptr;
  }
  tly::JsonObjectBuilder object;
  object.set_text("name", kName);
  object.set_text("version", kVersion);
  if (!object.failed() && type_system->counters_schema != nullptr) {
    JsonPtr counters(tly_counters_schema_jsonify(type_system->counters_schema));
    if (counters == nullptr) {
      TLY_LOG_ERROR("[ts] failed to serialize counters schema");
      return nullptr;
    }
    object.set_value("counters_schema", std::move(counters));
  }
  if (!object.failed()) {
    object.set_value("schemas", encode_schemas(type_system));
  }
  return object.release();
}

char* tly_type_system_serialize(const tly_type_system_t* type_system, bool pretty) {
  const JsonPtr value(tly_type_system_jsonify(type_system));
  return pretty ? json_serialize_to_string_pretty(value.get())
                : json_serialize_to_string(value.get());
}

tly_type_system_t* tly_type_system_from_json(const JSON_Value* value) {
  if (!is_readable(json_value_get_object(value))) {
    return nullptr;
  }
  TypeSystemPtr type_system(tly_create_type_system());
  if (type_system == nullptr) {
    TLY_LOG_ERROR("[ts] Failed to deserialize: unable to create type system object");
    return nullptr;
  }
  replace_counters_schema(type_system.get(), nullptr);
  return decode_document(value, type_system.get()) ? type_system.release() : nullptr;
}

tly_type_system_t* tly_type_system_deserialize(const char* text) {
  const JsonPtr value(json_parse_string(text));
  if (value == nullptr) {
    TLY_LOG_ERROR("Failed parsing schema JSON string");
    return nullptr;
  }
  return tly_type_system_from_json(value.get());
}
