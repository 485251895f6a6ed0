#include "commands/schema_document.h"

#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include "commands/schema_file.h"
#include "common/failure.h"
#include "host/owned.h"

namespace tly::agent {
namespace {

std::string text_of(const Plugin& plugin, const tly_schema_id_t& id) {
  char text[TLY_SCHEMA_ID_STRING_SIZE];
  plugin.tly_schema_id_to_schema_string(&id, text);
  return text;
}

// Takes over the serialized text; running out of memory is the only reason for not having one.
SchemaDocument serialized_document(const Plugin& plugin, char* serialized) {
  const JsonText text = required(plugin, serialized);
  tly_schema_id_t id{};
  if (!plugin.tly_get_schema_id_from_pretty_json_string(text.get(), &id)) {
    throw std::bad_alloc();
  }
  return {text.get(), text_of(plugin, id), {}, false};
}

SchemaDocument counters_document(const Plugin& plugin, const tly_counters_schema_t& schema) {
  return serialized_document(plugin, plugin.tly_counters_schema_serialize(&schema));
}

// A type system that holds this counters schema alone. It takes the schema as text, for the groups
// of a running collection stay with the collection.
SchemaDocument type_system_around(const Plugin& plugin, const SchemaDocument& counters) {
  const TypeSystem type_system = required(plugin, plugin.tly_create_type_system());
  std::uint8_t index = 0;
  if (plugin.tly_type_system_add_schema_from_serialized_json(type_system.get(),
                                                             counters.text.c_str(), &index) != 0 ||
      index != TLY_COUNTERS_SCHEMA_INDEX) {
    throw Failure(ExitCode::kFailure,
                  "the library does not take the counters schema into a type system",
                  "counters whose names are not UTF-8 cannot be part of one: select others with "
                  "--counter");
  }
  return type_system_document(plugin, *type_system);
}

SchemaDocument of_kind(const Plugin& plugin, SchemaDocument counters, SchemaKind kind) {
  return kind == SchemaKind::kTypeSystem ? type_system_around(plugin, counters)
                                         : std::move(counters);
}

bool holds_type_system(const Plugin& plugin, const Json& value) {
  const JSON_Object* const object = plugin.json_value_get_object(value.get());
  return plugin.json_object_get_value(object, "counters_schema") != nullptr ||
         plugin.json_object_get_array(object, "schemas") != nullptr;
}

}  // namespace

SchemaDocument type_system_document(const Plugin& plugin, tly_type_system_t& type_system) {
  SchemaDocument document =
      serialized_document(plugin, plugin.tly_type_system_serialize(&type_system, true));
  document.is_type_system = true;
  tly_schema_id_t id{};
  if (type_system.counters_schema != nullptr) {
    plugin.tly_type_system_fill_counter_schema_id(&type_system, &id);
    document.parts.push_back({text_of(plugin, id), "counters schema"});
  }
  for (std::size_t i = 0; i < type_system.num_schemas; ++i) {
    const tly_schema_t& schema = *type_system.schemas[i];
    const std::string name = std::string("event schema ") + schema.provider_name;
    if (plugin.tly_schema_extract_id(&schema, &id)) {
      document.parts.push_back({text_of(plugin, id), name});
    } else if (schema.num_types > 0) {
      // The library leaves out of the text what has no id. Nothing is lost with an empty schema.
      throw Failure(ExitCode::kSchemaFile, "the " + name + " cannot be written as text",
                    "see whether all its fields have counting modes that the library knows");
    }
  }
  return document;
}

SchemaDocument schema_of(const Plugin& plugin, const CollectionSchema& schema, SchemaKind kind) {
  return of_kind(plugin, counters_document(plugin, schema.record()), kind);
}

SchemaDocument load_schema(const Plugin& plugin, const std::string& path, SchemaKind kind) {
  const std::string text = read_schema_file(path);
  const Json value(plugin.json_parse_string(text.c_str()), Release{&plugin});
  if (!value) {
    throw Failure(ExitCode::kSchemaFile, path + " does not hold JSON",
                  "name a schema file, such as --save writes");
  }
  const TypeSystem loaded(plugin.tly_type_system_from_json(value.get()), Release{&plugin});
  if (!loaded) {
    throw Failure(ExitCode::kSchemaFile,
                  path + " holds neither a counters schema nor a type system that can be read",
                  "name a schema file, such as --save writes; the log shows what this one lacks");
  }
  if (kind == SchemaKind::kTypeSystem || holds_type_system(plugin, value)) {
    return type_system_document(plugin, *loaded);
  }
  return counters_document(plugin, *loaded->counters_schema);
}

SchemaDocument load_schema_by_id(const Plugin& plugin, const std::string& id,
                                 const std::string& directory, SchemaKind kind) {
  tly_schema_id_t wanted{};
  plugin.tly_schema_from_id_string(id.c_str(), &wanted);
  const std::string path = schema_file_path(directory, text_of(plugin, wanted));
  const CountersSchema loaded(plugin.tly_counters_load_schema_from_dir(&wanted, directory.c_str()),
                              Release{&plugin});
  if (!loaded) {
    throw Failure(ExitCode::kSchemaFile, path + " is missing or holds no counters schema",
                  "name the directory with --dir; a type system is read with --load FILE");
  }
  SchemaDocument document = counters_document(plugin, *loaded);
  if (document.id != text_of(plugin, wanted)) {
    throw Failure(ExitCode::kSchemaFile, path + " holds a schema with the id " + document.id,
                  "it was changed after it was saved; --load FILE reads it all the same");
  }
  return of_kind(plugin, std::move(document), kind);
}

}  // namespace tly::agent
