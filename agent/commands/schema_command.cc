#include "commands/schema_command.h"

#include <unistd.h>

#include <string>

#include "commands/schema_document.h"
#include "commands/schema_file.h"
#include "common/text.h"
#include "output/terminal.h"

namespace tly::agent {
namespace {

SchemaKind kind_of(const SchemaRequest& request) {
  return request.wants_type_system ? SchemaKind::kTypeSystem : SchemaKind::kAsItIs;
}

// The id of a counters schema; those of a type system and of its parts, one per line, each followed
// by what it names.
std::string id_text(const SchemaDocument& document) {
  if (!document.is_type_system) {
    return document.id + "\n";
  }
  std::string text = document.id + "  type system\n";
  for (const SchemaDocument::Part& part : document.parts) {
    text += part.id + "  " + printable(part.name) + "\n";
  }
  return text;
}

// Programs get the text alone, so that its MD5 is the id; a terminal also gets the end of the line.
std::string output_text(const SchemaDocument& document) {
  return document.text + (isatty(STDOUT_FILENO) == 1 ? "\n" : "");
}

void show(const SchemaDocument& document, const SchemaRequest& request) {
  if (request.save_directory) {
    const std::string path = schema_file_path(*request.save_directory, document.id);
    write_schema_file(path, document.text);
    write_output(path + "\n");
  } else {
    write_output(request.wants_id ? id_text(document) : output_text(document));
  }
}

}  // namespace

void run_schema(const Plugin& plugin, const Selection& selection, const SchemaRequest& request) {
  const CollectionSchema schema(plugin, selection);
  show(schema_of(plugin, schema, kind_of(request)), request);
}

void run_saved_schema(const Plugin& plugin, const SchemaRequest& request) {
  const SchemaKind kind = kind_of(request);
  show(request.saved_file ? load_schema(plugin, *request.saved_file, kind)
                          : load_schema_by_id(plugin, request.saved_id, request.directory, kind),
       request);
}

}  // namespace tly::agent
