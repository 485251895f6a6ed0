/* Counters schemas: everything that a collection produces as counters, and where each value lies.
 *
 * A schema owns its groups. Texts and JSON values belong to the caller. Decoding fails whole: null,
 * with nothing left allocated. Not synchronised. */
#ifndef TALLYRA_COUNTERS_SCHEMA_H
#define TALLYRA_COUNTERS_SCHEMA_H

#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

#include "tallyra/counter_group.h"
#include "tallyra/export.h"
#include "tallyra/json.h"
#include "tallyra/schema_id.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct tly_counters_schema {
  uint32_t size_of_counters; /* bytes of all values, low 32 bits; set when decoded */
  uint32_t num_groups;
  tly_counter_group_t** groups;
} tly_counters_schema_t;

TLY_API tly_counters_schema_t* tly_create_counters_schema(void);
/* Destroys the groups too, through their providers. Null is allowed. */
TLY_API void tly_destroy_counters_schema(tly_counters_schema_t* schema);

/* Appends the group, which then belongs to the schema. On false it is still the caller's. */
TLY_API bool tly_counters_schema_append_group(tly_counters_schema_t* schema,
                                              tly_counter_group_t* group);

/* Lays the counters out one after another and stores their offsets: each takes its length, or 8
 * bytes for a length of 0. A STRING of length 0 ends the layout with an error message.
 *
 * A numeric counter whose length is not 8 is laid out by its length but read and sized as 8 bytes:
 * make the values area as large as the larger of the last counter's end and
 * tly_counters_schema_size_of_counters(). */
TLY_API void tly_counters_schema_update_counter_offsets(tly_counters_schema_t* schema);

/* The bytes of all values: 8 for a number, the length for a STRING. */
TLY_API uint64_t tly_counters_schema_size_of_counters(const tly_counters_schema_t* schema);

/* The number of counters: of one set each, 0 with a message when a group has not exactly one; and
 * of all sets. */
TLY_API uint64_t tly_counters_schema_number_of_counters(const tly_counters_schema_t* schema);
TLY_API uint64_t tly_counters_schema_total_number_of_counters(const tly_counters_schema_t* schema);

/* The first counter of that name, inside the schema, or null. */
TLY_API tly_counter_info_t* tly_counters_schema_get_counter_by_name(
    const tly_counters_schema_t* schema, const char* name);

/* The JSON form, and its pretty text (released with json_free_serialized_string). */
TLY_API JSON_Value* tly_counters_schema_jsonify(const tly_counters_schema_t* schema);
TLY_API char* tly_counters_schema_serialize(const tly_counters_schema_t* schema);
/* Prints the pretty text and a newline; nothing when the schema has no JSON form. */
TLY_API void tly_counters_schema_print(const tly_counters_schema_t* schema, FILE* stream);

/* New schemas with offsets assigned: from a JSON value, a text, a file (without comments), or the
 * file "schema_<id>.json" in a directory. An incompatible version is reported and accepted. */
TLY_API tly_counters_schema_t* tly_counters_schema_from_json(const JSON_Value* value);
TLY_API tly_counters_schema_t* tly_counters_schema_deserialize(const char* text);
TLY_API tly_counters_schema_t* tly_counters_schema_load(const char* path);
/* Null for a null or unset id. */
TLY_API tly_counters_schema_t* tly_counters_load_schema_from_dir(const tly_schema_id_t* id,
                                                                 const char* directory);

#ifdef __cplusplus
}
#endif

#endif
