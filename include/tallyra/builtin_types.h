/* The built-in scalar types of event records, and the counting modes of their fields. Constant
 * tables; everything here may be called from any thread. */
#ifndef TALLYRA_BUILTIN_TYPES_H
#define TALLYRA_BUILTIN_TYPES_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "tallyra/export.h"
#include "tallyra/json.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Ids run from 1 ("bool") to 22 ("timestamp"); 0 stands for a composite type. */
enum { TLY_BUILTIN_TYPE_NONE = 0, TLY_BUILTIN_TYPE_CHAR = 2, TLY_BUILTIN_TYPE_UNSIGNED_CHAR = 7 };

/* How a field's value evolves. */
enum {
  TLY_VALUE_TYPE_ABSOLUTE = 0,
  TLY_VALUE_TYPE_RELATIVE = 1,
  TLY_VALUE_TYPE_DERIVATIVE = 2,
  TLY_VALUE_TYPE_ABSOLUTE_MONOTONIC = 3
};
typedef uint32_t tly_value_type_t;

/* A built-in type's name (a constant text) and size in bytes; null and 0 outside the table. */
TLY_API const char* tly_builtin_type_name(uint32_t builtin_id);
TLY_API size_t tly_builtin_type_size(uint32_t builtin_id);
/* The id of an exact name, or 0. */
TLY_API uint32_t tly_builtin_type_from_name(const char* name);

/* The value at `value`, of the type's size and any alignment, in host byte order, as a new JSON
 * number; null for an id outside the table and for what JSON cannot hold (NaN, infinities). */
TLY_API JSON_Value* tly_builtin_type_jsonify(uint32_t builtin_id, const void* value);

/* Prints the table. */
TLY_API void tly_builtin_type_print_info(FILE* stream);

/* The name of a counting mode, or null; and the mode of an exact name, or 0xFFFFFFFF. */
TLY_API const char* tly_value_type_string(uint32_t value_type);
TLY_API uint32_t tly_value_type_from_string(const char* name);

#ifdef __cplusplus
}
#endif

#endif
