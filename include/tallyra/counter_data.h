/* Counter descriptions, counter values, and the data block in which values travel.
 *
 * Records are plain structures from calloc(3) and cross the plug-in boundary: agent and providers
 * free each other's allocations with free(3). A member that nobody sets is 0, false or null.
 * Strings of a record are owned by it. Failure shows as null; nothing here is synchronised. */
#ifndef TALLYRA_COUNTER_DATA_H
#define TALLYRA_COUNTER_DATA_H

#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

#include "tallyra/export.h"
#include "tallyra/json.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What a name that is missing from an enumeration's table converts to. */
#define TLY_ENUM_UNKNOWN 0xFFFFFFFFu

/* The type of a counter's value. */
enum {
  TLY_DATA_TYPE_UNDEFINED = 0,
  TLY_DATA_TYPE_UINT64 = 1,
  TLY_DATA_TYPE_FP64 = 2,
  TLY_DATA_TYPE_BIT64 = 3,
  TLY_DATA_TYPE_INT64 = 4,
  TLY_DATA_TYPE_STRING = 5
};
typedef uint32_t tly_data_type_t;

/* What one set of a group's values describes. */
enum { TLY_GRANULARITY_NODE = 0, TLY_GRANULARITY_CPU = 1, TLY_GRANULARITY_PACKAGE = 2 };
typedef uint32_t tly_granularity_t;

/* How a counter's value evolves. */
enum {
  TLY_COUNTING_TYPE_ABSOLUTE = 0,
  TLY_COUNTING_TYPE_ABSOLUTE_MONOTONIC = 1,
  TLY_COUNTING_TYPE_RUNNING_SUM = 2
};
typedef uint32_t tly_counting_type_t;

/* One value, read by its counter's data type. A STRING value is `length` characters that start here
 * and may run on past the 8 bytes, not necessarily terminated. */
typedef union tly_counter_value {
  uint64_t u64; /* UINT64, BIT64 */
  int64_t i64;  /* INT64, Undefined */
  double fp64;  /* FP64 */
  char string[8];
} tly_counter_value_t;

typedef struct tly_counter_info {
  uint32_t id; /* unique within the provider; 0 when decoded from JSON */
  char* name;  /* owned, as the next two */
  char* description;
  char* units; /* may be empty */
  tly_data_type_t data_type;
  tly_counting_type_t counting_type;
  uint32_t offset; /* bytes from the start of a values area; whoever lays the area out sets it */
  uint32_t length; /* bytes: 8 for the numeric types, the capacity for STRING */
  uint32_t aux;    /* carried along, no meaning here */
  bool hidden;
  bool mandatory;
} tly_counter_info_t;

/* Names of enumeration values, constant texts; null for a value without a name. */
TLY_API const char* tly_data_type_string(uint32_t data_type);
TLY_API const char* tly_granularity_string(uint32_t granularity);
TLY_API const char* tly_counting_type_string(uint32_t counting_type);

/* Values of exact names, or TLY_ENUM_UNKNOWN. */
TLY_API uint32_t tly_data_type_from_string(const char* name);
TLY_API uint32_t tly_granularity_from_string(const char* name);

/* Frees the three strings, not the record. A null string draws a warning. */
TLY_API void tly_destroy_counter_info(tly_counter_info_t* counter);

/* A copy with its own strings: release it with tly_destroy_counter_info() and free(3). */
TLY_API tly_counter_info_t* tly_counter_info_deep_copy(const tly_counter_info_t* counter);

/* A new JSON object; strings that are null and enumeration values without a name are left out. */
TLY_API JSON_Value* tly_counter_info_jsonify(const tly_counter_info_t* counter);

/* Prints name and description as one table row; returns the number of characters, negative for a
 * null counter or when the stream fails. */
TLY_API int tly_counter_info_print(const tly_counter_info_t* counter, FILE* stream);

/* A new record from a JSON object with the string members name, description, units, data_type and
 * counting_type, and optionally the numbers offset, length, hidden and mandatory; null on failure.
 * An unknown enumeration name is kept as TLY_ENUM_UNKNOWN. */
TLY_API tly_counter_info_t* tly_counter_info_from_json(const JSON_Value* value);

/* Four bytes that mark a block: 'T', 'L', 'Y' and a type letter. */
typedef struct tly_magic_value {
  char bytes[4];
} tly_magic_value_t;

TLY_API void tly_magic_value_fill(tly_magic_value_t* magic, char type);
/* All four bytes in lower case. */
TLY_API void tly_magic_value_fill_lower(tly_magic_value_t* magic, char type);
TLY_API void tly_magic_value_copy(tly_magic_value_t* destination, const tly_magic_value_t* source);
/* Whether the magic is the upper-case one of that type. */
TLY_API bool tly_magic_value_match_type(const tly_magic_value_t* magic, char type);
/* Whether both have the same prefix and the same type. */
TLY_API bool tly_magic_value_match(const tly_magic_value_t* a, const tly_magic_value_t* b);

TLY_FLEXIBLE_ARRAY_BEGIN
/* A values area after its header, in host byte order. */
typedef struct tly_counters_data {
  tly_magic_value_t magic;      /* type letter 'D' */
  uint32_t padding;             /* 0 */
  uint64_t timestamp;           /* microseconds since the Unix epoch, CLOCK_REALTIME */
  tly_counter_value_t values[]; /* each value at its counter's offset */
} tly_counters_data_t;
TLY_FLEXIBLE_ARRAY_END

/* Prepares the header: magic, padding, the time now. The values are left alone. */
TLY_API void tly_counters_data_reset(tly_counters_data_t* data);
TLY_API void tly_counters_data_print_info(FILE* stream, const tly_counters_data_t* data);
/* Prints the header's layout to standard output. */
TLY_API void tly_counters_data_print_struct_layout(void);

#ifdef __cplusplus
}
#endif

#endif
