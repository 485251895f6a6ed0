#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "common/log.h"
#include "common/owned.h"
#include "common/printable.h"
#include "counters/counter_decoding.h"
#include "encoding/json_ptr.h"
#include "encoding/json_template.h"
#include "tallyra/counters_schema.h"
#include "tallyra/version.h"

namespace {

using tly::JsonPtr;
using tly::OwnedString;
using SchemaPtr = tly::Owned<tly_counters_schema_t, &tly_destroy_counters_schema>;
using SerializedText = tly::Owned<char, &json_free_serialized_string>;

constexpr const char* kTitle = "Tallyra performance counters collector";
constexpr const char* kSchemaVersion = "1.5.0";
constexpr const char* kSchemaTemplate = R"({"version" : "", "counter_groups" : []})";

// The array of the groups' descriptions; null, with a message, when one of them fails.
JsonPtr encode_groups(const tly_counters_schema_t* schema) noexcept {
  JsonPtr array(json_value_init_array());
  if (array == nullptr) {
    return nullptr;
  }
  JSON_Array* elements = json_value_get_array(array.get());
  for (std::size_t index = 0; index < schema->num_groups; ++index) {
    JsonPtr group(tly_counter_group_jsonify(schema->groups[index]));
    if (group == nullptr) {
      TLY_LOG_ERROR("Failed to JSONify counter group #%d", static_cast<int>(index));
      return nullptr;
    }
    if (json_array_append_value(elements, group.get()) != JSONSuccess) {
      TLY_LOG_ERROR("Failed to append JSON array with counter group #%d", static_cast<int>(index));
      return nullptr;
    }
    static_cast<void>(group.release());
  }
  return array;
}

// Moves the value into the object; false when it is null or memory runs out.
bool set_member(JSON_Object* object, const char* key, JsonPtr value) noexcept {
  if (value == nullptr || json_object_set_value(object, key, value.get()) != JSONSuccess) {
    return false;
  }
  static_cast<void>(value.release());
  return true;
}

// Decodes the elements into the schema; what was decoded before a failure stays in it.
bool decode_groups(const JSON_Array* elements, tly_counters_schema_t* schema) noexcept {
  const std::size_t count = json_array_get_count(elements);
  schema->groups = static_cast<tly_counter_group_t**>(
      std::calloc(count > 0 ? count : 1, sizeof(tly_counter_group_t*)));
  if (schema->groups == nullptr) {
    const int reason = errno;
    TLY_LOG_ERROR("Failed to allocate counter groups array: %s", std::strerror(reason));
    return false;
  }
  tly::CounterTemplates templates;
  for (std::size_t index = 0; index < count; ++index) {
    const JSON_Value* element = json_array_get_value(elements, index);
    if (element == nullptr) {
      TLY_LOG_ERROR("Failed to get item #%d from groups array", static_cast<int>(index));
      return false;
    }
    tly_counter_group_t* group = tly::decode_counter_group(element, templates);
    if (group == nullptr) {
      TLY_LOG_ERROR("Failed to decode counter group from JSON");
      return false;
    }
    schema->groups[schema->num_groups++] = group;
  }
  return true;
}

// A new schema from an object that has the template's shape.
SchemaPtr decode_object(const JSON_Object* object) noexcept {
  SchemaPtr schema(tly_create_counters_schema());
  if (schema == nullptr) {
    const int reason = errno;
    TLY_LOG_ERROR("Failed to allocate schema object: %s", std::strerror(reason));
    return nullptr;
  }
  const JSON_Array* elements = json_object_get_array(object, "counter_groups");
  if (elements == nullptr) {
    TLY_LOG_ERROR("Schema JSON is missing counter groups information");
    return nullptr;
  }
  return decode_groups(elements, schema.get()) ? std::move(schema) : nullptr;
}

// The path of the schema's file, or null.
OwnedString schema_path(const tly_schema_id_t* id, const char* directory) noexcept {
  const OwnedString id_text(tly_schema_id_string(id));
  char* path = nullptr;
  if (id_text == nullptr || asprintf(&path, "%s/schema_%s.json", directory, id_text.get()) < 0) {
    TLY_LOG_ERROR("asprintf failed");
    return nullptr;
  }
  return OwnedString(path);
}

}  // namespace

JSON_Value* tly_counters_schema_jsonify(const tly_counters_schema_t* schema) {
  constexpr const char* kFunction = "tly_counters_schema_jsonify";
  if (schema == nullptr) {
    return nullptr;
  }
  JsonPtr value(json_value_init_object());
  if (value == nullptr) {
    TLY_LOG_ERROR("[%s] json_value_init_object() failed", kFunction);
    return nullptr;
  }
  JSON_Object* object = json_value_get_object(value.get());
  if (object == nullptr) {
    TLY_LOG_ERROR("[%s] json_value_get_object() failed", kFunction);
    return nullptr;
  }
  const bool is_complete =
      json_object_set_string(object, "title", kTitle) == JSONSuccess &&
      json_object_set_string(object, "version", kSchemaVersion) == JSONSuccess &&
      set_member(object, "counter_groups", encode_groups(schema));
  return is_complete ? value.release() : nullptr;
}

char* tly_counters_schema_serialize(const tly_counters_schema_t* schema) {
  const JsonPtr value(tly_counters_schema_jsonify(schema));
  if (value == nullptr) {
    TLY_LOG_ERROR("Failed to JSONify counters schemaector schema");
    return nullptr;
  }
  char* text = json_serialize_to_string_pretty(value.get());
  if (text == nullptr) {
    TLY_LOG_ERROR("Failed to serialize JSON counters schemaector schema");
  }
  return text;
}

void tly_counters_schema_print(const tly_counters_schema_t* schema, FILE* stream) {
  if (stream == nullptr) {
    return;
  }
  const SerializedText text(tly_counters_schema_serialize(schema));
  if (text != nullptr) {
    std::fprintf(stream, "%s\n", text.get());
    std::fflush(stream);
  }
}

tly_counters_schema_t* tly_counters_schema_from_json(const JSON_Value* value) {
  if (!tly::matches_json_template(value, kSchemaTemplate)) {
    return nullptr;
  }
  const JSON_Object* object = json_value_get_object(value);
  const char* version = json_object_get_string(object, "version");
  if (!tly_version_strings_are_compatible(version, kSchemaVersion)) {
    TLY_LOG_ERROR("Version '%s' of parsing schema is incompatible with current schema version '%s'",
                  version, kSchemaVersion);
  }
  SchemaPtr schema = decode_object(object);
  if (schema != nullptr) {
    tly_counters_schema_update_counter_offsets(schema.get());
    schema->size_of_counters =
        static_cast<uint32_t>(tly_counters_schema_size_of_counters(schema.get()));
  }
  return schema.release();
}

tly_counters_schema_t* tly_counters_schema_deserialize(const char* text) {
  const JsonPtr value(json_parse_string(text));
  if (value == nullptr) {
    TLY_LOG_ERROR("Failed parsing counters schema JSON from string");
    return nullptr;
  }
  return tly_counters_schema_from_json(value.get());
}

tly_counters_schema_t* tly_counters_schema_load(const char* path) {
  errno = 0;
  const JsonPtr value(json_parse_file(path));
  if (value == nullptr) {
    const int reason = errno;
    TLY_LOG_ERROR("Failed reading counters schema JSON from file '%s': %s", tly::printable(path),
                  std::strerror(reason));
    return nullptr;
  }
  return tly_counters_schema_from_json(value.get());
}

tly_counters_schema_t* tly_counters_load_schema_from_dir(const tly_schema_id_t* id,
                                                         const char* directory) {
  if (id == nullptr || directory == nullptr || tly_schema_id_is_unset(id)) {
    return nullptr;
  }
  const OwnedString path = schema_path(id, directory);
  if (path == nullptr) {
    return nullptr;
  }
  TLY_LOG_DEBUG("opening counters schema: %s\n", path.get());
  tly_counters_schema_t* schema = tly_counters_schema_load(path.get());
  if (schema == nullptr) {
    TLY_LOG_DEBUG("Failed to load counters schema from file: %s", path.get());
  }
  return schema;
}
