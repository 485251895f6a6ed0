/* Schemas: the set of record types that one event provider publishes.
 *
 * A schema owns its types; field references point into it or into its parents, which must outlive
 * it. Its id is the digest of its pretty JSON text: adding types leaves a stale id until
 * tly_type_system_update_md5_hashes(). Failure shows as null, false or a status, with one message.
 * Not synchronised. */
#ifndef TALLYRA_SCHEMA_H
#define TALLYRA_SCHEMA_H

#include <stdbool.h>
#include <stdint.h>

#include "tallyra/export.h"
#include "tallyra/json.h"
#include "tallyra/schema_id.h"
#include "tallyra/type_definition.h"

#ifdef __cplusplus
extern "C" {
#endif

#define TLY_MAX_TYPES 254

typedef struct tly_schema {
  uint32_t provider_version; /* packed, see version.h */
  char* provider_name;       /* owned; may be null */
  tly_type_definition_t* types[TLY_MAX_TYPES];
  uint8_t num_types;
  struct tly_schema* parent; /* borrowed; searched after this schema; may be null */
  tly_schema_id_t id;
  char id_string[TLY_SCHEMA_ID_STRING_SIZE];
} tly_schema_t;

/* Results of tly_schema_add_type() and tly_schema_set_field_indexes(). */
enum {
  TLY_SCHEMA_SUCCESS = 0,
  TLY_SCHEMA_ALLOCATION_FAILED = 1,
  TLY_SCHEMA_NAME_TAKEN = 2,
  TLY_SCHEMA_UNDEFINED = 3,
  TLY_SCHEMA_FULL = 5
};

TLY_API tly_schema_t* tly_create_schema(const char* provider_name, uint32_t provider_version);
/* Null is allowed. The parent is left alone. */
TLY_API void tly_destroy_schema(tly_schema_t* schema);

/* The first type of that name in the schema, then in its parents; null when there is none. */
TLY_API tly_type_definition_t* tly_schema_find_type_definition(const tly_schema_t* schema,
                                                               const char* name);
/* Its size in bytes, or 0. */
TLY_API uint64_t tly_schema_sizeof_type(const tly_schema_t* schema, const char* name);

/* Adds a composite type of packed fields, at most 65,535, and stores its position through `index`,
 * when given. A type without fields, or one of arrays of length 0, has size 0: it is held and
 * written, but a reader refuses its JSON form. On any other result than success the schema is as it
 * was; a record whose bytes 64 bits cannot count fails like a field that cannot be made. */
TLY_API int tly_schema_add_type(tly_schema_t* schema, const char* name,
                                const tly_type_field_info_t* fields, uint64_t count,
                                uint8_t* index);

/* Numbers the fields named, from 1 in the order given, and sets the others to 0. Status 3 when a
 * name was not found, the fields that were found being numbered, or when an argument is wrong. */
TLY_API int tly_schema_set_field_indexes(tly_schema_t* schema, uint8_t type_index,
                                         const char* const* names, uint64_t count);

/* The JSON text of one type, released with json_free_serialized_string(); null when not found. */
TLY_API char* tly_schema_serialize_type_definition(const tly_schema_t* schema, const char* name,
                                                   bool pretty);

/* Resolves the type reference of every field; false at the first that is not found, the ones before
 * it resolved. */
TLY_API bool tly_schema_adjust_field_type_references(const tly_schema_t* schema,
                                                     tly_type_definition_t* type);

/* A new schema from a JSON file, references resolved and id set; a schema without JSON form, such
 * as one without types, keeps an unset id. Types that are not the file's own are looked for in the
 * parent and its parents: one of them must hold the built-in types. */
TLY_API tly_schema_t* tly_schema_load_from_file(const char* path, tly_schema_t* parent);

/* Fills an empty schema with the built-in types; false, changing nothing, when it holds types. */
TLY_API bool tly_schema_register_builtin_types(tly_schema_t* schema);

/* The JSON form; null for a schema without types or without a provider name. */
TLY_API JSON_Value* tly_schema_jsonify(const tly_schema_t* schema);

/* A new schema with unresolved references, no parent and an unset id; null, with an error message,
 * when there are more than TLY_MAX_TYPES types. Names that repeat are kept, and the first is found.
 */
TLY_API tly_schema_t* tly_schema_from_json(const JSON_Value* value);

/* The id of the schema's present JSON form; false, leaving `id`, when it has none. */
TLY_API bool tly_schema_extract_id(const tly_schema_t* schema, tly_schema_id_t* id);

/* The id of any JSON value: the digest of its pretty text. False, leaving `id`, when it cannot be
 * serialized. */
TLY_API bool tly_type_system_get_json_schema_id(tly_schema_id_t* id, const JSON_Value* value);

/* The digest of the text's bytes; false for a null text. */
TLY_API bool tly_get_schema_id_from_pretty_json_string(const char* text, tly_schema_id_t* id);

#ifdef __cplusplus
}
#endif

#endif
