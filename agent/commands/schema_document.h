// Schemas as text, with the ids that go with it.
#pragma once

#include <string>
#include <vector>

#include "host/collection_schema.h"
#include "host/plugin.h"

namespace tly::agent {

struct SchemaDocument {
  struct Part {
    std::string id;
    std::string name;
  };

  std::string text;  // as the library serializes it, without a newline at its end
  std::string id;    // the text's MD5
  // What a type system holds: its counters schema and its event schemas. A counters schema has no
  // parts.
  std::vector<Part> parts;
  bool is_type_system = false;
};

enum class SchemaKind { kAsItIs, kTypeSystem };

// All of these throw Failure.

SchemaDocument type_system_document(const Plugin& plugin, tly_type_system_t& type_system);

SchemaDocument schema_of(const Plugin& plugin, const CollectionSchema& schema, SchemaKind kind);

// From a file that holds a counters schema or a type system.
SchemaDocument load_schema(const Plugin& plugin, const std::string& path, SchemaKind kind);

// The counters schema whose file in the directory is named by the id, 32 hexadecimal digits.
SchemaDocument load_schema_by_id(const Plugin& plugin, const std::string& id,
                                 const std::string& directory, SchemaKind kind);

}  // namespace tly::agent
