/* Counter groups: the counters of one component that are collected together.
 *
 * A group is created through its provider, receives copies of counters, is started, read into a
 * values area of the agent's, stopped, and handed back to the provider that made it. Two layouts of
 * values exist: the offset layout, where each value starts at its counter's offset in bytes (reads
 * and the JSON forms), and the slot layout, where the value of counter i in set s is slot
 * s * num_counters + i of 8 bytes each (the printout and the reset; for 8-byte values only). */
#ifndef TALLYRA_COUNTER_GROUP_H
#define TALLYRA_COUNTER_GROUP_H

#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

#include "tallyra/counter_data.h"
#include "tallyra/counter_provider.h"
#include "tallyra/export.h"
#include "tallyra/json.h"

#ifdef __cplusplus
extern "C" {
#endif

struct tly_counter_group {
  uint32_t reserved_word;           /* 0 */
  int32_t component_id;             /* the component's `id` */
  tly_provider_t* provider;         /* null for a group decoded from JSON */
  const tly_component_t* component; /* null for a group decoded from JSON */
  tly_granularity_t granularity;
  uint32_t num_counter_sets; /* sets of values per read */
  uint32_t num_counters;
  tly_counter_info_t** counters; /* owned, as are the copies in it */
  char* name;                    /* owned; may be null */
  void* reserved_pointer;
  char* provider_name; /* owned; may be null */
  /* The provider's read function, called on the agent's thread: writes the value of each counter at
   * its offset, in bytes, into the area, which must reach to the end of the last value. False when
   * the values could not be had; see the provider's read function for what is then written. */
  bool (*read_callback)(tly_counter_group_t* group, tly_counter_value_t* values);
};

/* A new group, released with tly_destroy_counter_group(); null when the provider refuses. */
TLY_API tly_counter_group_t* tly_create_counter_group(tly_provider_t* provider,
                                                      const tly_component_t* component);

/* Appends a copy of the counter. False when the provider refuses it or memory runs out; the group
 * then counts the counters it had. */
TLY_API bool tly_add_counter_to_group(tly_counter_group_t* group,
                                      const tly_counter_info_t* counter);

/* Releases a group through its provider, or directly when it has none. Null is allowed. */
TLY_API void tly_destroy_counter_group(tly_counter_group_t* group);

/* Releases the group's own memory: for groups decoded from JSON, and for providers. Null is
 * allowed. */
TLY_API void tly_free_counter_group(tly_counter_group_t* group);

/* Forward to the provider; false for a group without one. */
TLY_API bool tly_start_counting_group(tly_counter_group_t* group);
TLY_API bool tly_stop_counting_group(tly_counter_group_t* group);

/* The group's description as a new JSON object, and back. */
TLY_API JSON_Value* tly_counter_group_jsonify(const tly_counter_group_t* group);
TLY_API tly_counter_group_t* tly_counter_group_from_json(const JSON_Value* value);

/* The values (offset layout) as a new JSON object: of one set by counter name, or of the whole
 * group. Values that JSON cannot hold (NaN, infinities, text that is not UTF-8) are left out. */
TLY_API JSON_Value* tly_counter_set_values_jsonify(const tly_counter_group_t* group,
                                                   const tly_counter_value_t* values);
TLY_API JSON_Value* tly_counter_group_values_jsonify(const tly_counter_group_t* group,
                                                     const tly_counter_value_t* values);

/* Prints the group's description as a table; returns the result of the final fflush(3), or -1 for a
 * null group. */
TLY_API int tly_print_counter_group(const tly_counter_group_t* group, FILE* stream);

/* Prints the values (slot layout) as a table with one row per set. */
TLY_API void tly_print_counter_group_values(const tly_counter_group_t* group,
                                            const tly_counter_value_t* values, FILE* stream);

/* Sets all values (slot layout) to zero. */
TLY_API void tly_reset_counter_group_values(const tly_counter_group_t* group,
                                            tly_counter_value_t* values);

/* Prints one value as a table cell; a STRING is read to the counter's length at most. Returns the
 * number of characters; negative when an argument is null or the stream fails. */
TLY_API int tly_print_counter_value(FILE* stream, const tly_counter_info_t* counter, int width,
                                    const tly_counter_value_t* value);

#ifdef __cplusplus
}
#endif

#endif
