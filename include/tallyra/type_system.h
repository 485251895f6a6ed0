/* Type systems: the catalogue of a collection's data layouts.
 *
 * A type system owns its built-in schema, up to 255 event schemas in numbered slots, and one
 * counters schema. Slots are never reused, so an index stays valid. Built and changed by one thread
 * at a time, read afterwards. */
#ifndef TALLYRA_TYPE_SYSTEM_H
#define TALLYRA_TYPE_SYSTEM_H

#include <stdbool.h>
#include <stdint.h>

#include "tallyra/counters_schema.h"
#include "tallyra/export.h"
#include "tallyra/json.h"
#include "tallyra/schema.h"

#ifdef __cplusplus
extern "C" {
#endif

#define TLY_MAX_SCHEMAS 255

/* The index that stands for the counters schema; never a slot. */
#define TLY_COUNTERS_SCHEMA_INDEX 255

typedef struct tly_type_system {
  tly_schema_t* builtin_schema;
  tly_schema_t* schemas[TLY_MAX_SCHEMAS];
  uint8_t num_schemas;
  tly_counters_schema_t* counters_schema; /* may be null */
  tly_schema_id_t counters_schema_id;     /* unset until first requested */
} tly_type_system_t;

/* A new type system with the built-in types and an empty counters schema, or null. */
TLY_API tly_type_system_t* tly_create_type_system(void);
/* Destroys every schema in the slots, whatever num_schemas says. Null is allowed. */
TLY_API void tly_destroy_type_system(tly_type_system_t* type_system);

/* Appends every built-in type to the built-in schema; false when it is full or memory runs out. */
TLY_API bool tly_builtin_type_register_types(tly_type_system_t* type_system);

/* Appends an empty schema, which the caller fills, and stores its slot through `index`, when given;
 * null when 255 are held. */
TLY_API tly_schema_t* tly_type_system_add_schema(tly_type_system_t* type_system,
                                                 const char* provider_name,
                                                 uint32_t provider_version, uint8_t* index);

/* Makes the built-in schema the schema's parent and resolves its references. */
TLY_API bool tly_type_system_adjust_type_references(tly_type_system_t* type_system,
                                                    tly_schema_t* schema);

/* Adds an event schema from its JSON text, or replaces the counters schema (index 255; the cached
 * counters id is cleared). A text that is already held is found by its digest. 0, or -1. */
TLY_API int tly_type_system_add_schema_from_serialized_json(tly_type_system_t* type_system,
                                                            const char* text, uint8_t* index);

/* Moves the source's schemas: both then hold the same pointers, and the caller clears the source's
 * slots and count before destroying it. 0, or -1 with the schemas before it moved; the one that
 * could not be moved already has the destination's built-in schema as its parent, so destroy the
 * source first. */
TLY_API int tly_type_system_clone_schemas(tly_type_system_t* destination,
                                          const tly_type_system_t* source, uint8_t* index);

/* Appends the schema of a JSON file; its id is not computed. */
TLY_API tly_schema_t* tly_type_system_load_schema(tly_type_system_t* type_system, const char* path);

/* Bytes of the largest record type of the event schemas; and of that and the counter values. */
TLY_API uint32_t tly_type_system_get_max_event_type_size(const tly_type_system_t* type_system);
TLY_API uint32_t tly_type_system_max_type_size(const tly_type_system_t* type_system);

/* Recomputes every schema's id and id string. */
TLY_API void tly_type_system_update_md5_hashes(tly_type_system_t* type_system);

/* Whether a held schema has that id string; its slot goes through `index`, when given. */
TLY_API bool tly_type_system_find_schema(const tly_type_system_t* type_system,
                                         const char* id_string, uint8_t* index);

/* The JSON form and its text (json_free_serialized_string). Schemas without types are left out. */
TLY_API JSON_Value* tly_type_system_jsonify(const tly_type_system_t* type_system);
TLY_API char* tly_type_system_serialize(const tly_type_system_t* type_system, bool pretty);

/* A new type system from its JSON form, or from that of a counters schema alone; null on failure.
 * The schemas have ids but no id strings. */
TLY_API tly_type_system_t* tly_type_system_from_json(const JSON_Value* value);
TLY_API tly_type_system_t* tly_type_system_deserialize(const char* text);

/* The id of a counters schema; false when it has no JSON form. */
TLY_API bool tly_calc_counters_schema_id(tly_schema_id_t* id,
                                         const tly_counters_schema_t* counters_schema);
/* The cached id of the type system's counters schema, computed on first request; without a counters
 * schema `id` is left alone. */
TLY_API void tly_type_system_fill_counter_schema_id(tly_type_system_t* type_system,
                                                    tly_schema_id_t* id);

#ifdef __cplusplus
}
#endif

#endif
