/* Type definitions: the layout of raw event records.
 *
 * A definition owns its fields, a field its strings; a field's type reference is borrowed from the
 * schema that resolved it. Decoding and encoding fail whole: null, with nothing left allocated.
 * JSON values and texts belong to the caller (json_value_free, json_free_serialized_string). Member
 * order is part of the encoded form, because schema ids are digests of it. Not synchronised. */
#ifndef TALLYRA_TYPE_DEFINITION_H
#define TALLYRA_TYPE_DEFINITION_H

#include <stdbool.h>
#include <stdint.h>

#include "tallyra/builtin_types.h"
#include "tallyra/export.h"
#include "tallyra/json.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A caller's description of one field; tly_schema_add_type() copies what it needs. */
typedef struct tly_type_field_info {
  const char* field_name;
  const char* description;
  const char* type_name; /* a built-in type, or a type of the same schema or its parents */
  tly_value_type_t counting_mode;
  uint16_t array_length; /* elements; 1 for a scalar */
} tly_type_field_info_t;

typedef struct tly_type_definition tly_type_definition_t;

typedef struct tly_type_field_definition {
  char* field_name; /* owned, as the next two */
  char* description;
  char* type_name;
  uint64_t type_size; /* bytes of one element */
  tly_value_type_t counting_mode;
  uint16_t array_length;                       /* elements; 1 for a scalar */
  uint64_t offset;                             /* bytes from the start of the record */
  const tly_type_definition_t* type_reference; /* borrowed; null until a schema resolves it */
  uint16_t index; /* position in the caller's index list, from 1; 0 for none */
} tly_type_field_definition_t;

struct tly_type_definition {
  char* name;
  uint32_t builtin_id; /* 0 for a composite */
  uint16_t num_fields;
  tly_type_field_definition_t** fields;
  uint64_t size; /* bytes of a record; fields are packed */
};

/* Makes definitions of the first `max` built-in types into `definitions` and returns their number,
 * or -1 when memory runs out (those made so far stay in the array and are the caller's). */
TLY_API int32_t tly_builtin_type_get_type_defs(tly_type_definition_t** definitions, uint8_t max);

/* A new zero-filled field definition or type definition, or null; and their release. */
TLY_API tly_type_field_definition_t* tly_create_type_field_definition(void);
TLY_API void tly_destroy_type_field_definition(tly_type_field_definition_t* field);
TLY_API tly_type_definition_t* tly_create_type_definition(void);
TLY_API void tly_destroy_type_definition(tly_type_definition_t* type);

/* A new field with copies of the description's strings; size, offset and reference are left for the
 * schema. */
TLY_API tly_type_field_definition_t* tly_type_field_definition_from_info(
    const tly_type_field_info_t* info);

/* The JSON forms. A field without "array_length", or with 0, is read as a scalar; one without
 * "index" has index 0. Numbers that do not fit their member are read as the nearest that does. A
 * type of size 0 is written but not read back, and one of more than 65,535 fields is not read. A
 * field without one of its texts, or with a counting mode that has no name, is not written. */
TLY_API JSON_Value* tly_type_field_definition_jsonify(const tly_type_field_definition_t* field);
TLY_API tly_type_field_definition_t* tly_type_field_definition_from_json(const JSON_Value* value);
TLY_API JSON_Value* tly_type_definition_jsonify(const tly_type_definition_t* type);
TLY_API tly_type_definition_t* tly_type_definition_from_json(const JSON_Value* value);
TLY_API char* tly_type_definition_serialize(const tly_type_definition_t* type, bool pretty);

/* A raw record as JSON: an object of its fields by name; one field; one element of it; all
 * elements. References must be resolved. Arrays of "char" and "unsigned char" become the text of
 * their leading printable characters. The bytes are read in place and may be unaligned; the caller
 * vouches that they are as long as the definition says.
 *
 * Null for what JSON cannot hold (NaN, infinities), for a field whose reference is not resolved,
 * and for an element of a type that contains itself, directly or through others: only decoded types
 * can, and such a record has no end. */
TLY_API JSON_Value* tly_type_definition_jsonify_data(const tly_type_definition_t* type,
                                                     const void* record);
TLY_API JSON_Value* tly_type_field_definition_jsonify_data(const tly_type_field_definition_t* field,
                                                           const void* bytes);
TLY_API JSON_Value* tly_type_field_definition_jsonify_scalar(
    const tly_type_field_definition_t* field, const void* bytes);
TLY_API JSON_Value* tly_type_field_definition_jsonify_array(
    const tly_type_field_definition_t* field, const void* bytes);

#ifdef __cplusplus
}
#endif

#endif
