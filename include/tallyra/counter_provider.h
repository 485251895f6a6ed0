/* Counter providers: what a plug-in offers, and the callbacks through which an agent drives it.
 *
 * The provider owns its record, its components and their counters until its finalize callback. An
 * agent calls into one provider from one thread at a time, in this order: initialize; per group
 * create, add counters, start, read any number of times, stop, destroy; finalize. */
#ifndef TALLYRA_COUNTER_PROVIDER_H
#define TALLYRA_COUNTER_PROVIDER_H

#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

#include "tallyra/counter_data.h"
#include "tallyra/export.h"
#include "tallyra/json.h"
#include "tallyra/options.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct tly_counter_group tly_counter_group_t; /* tallyra/counter_group.h */

/* A named set of counters of one provider. */
typedef struct tly_component {
  int32_t id; /* index in the provider's components */
  tly_granularity_t granularity;
  char* name;
  char* description; /* may be null */
  bool enabled;
  char* status_string; /* why it is disabled; may be null */
  int32_t num_counters;
  tly_counter_info_t** counters;
  void* context; /* the provider's own */
} tly_component_t;

typedef struct tly_provider {
  int32_t id;
  int32_t version;
  char* name;
  char* description;
  uint16_t num_components;
  tly_component_t** components;
  void* context; /* the provider's own, set by provider_initialize */
  bool (*provider_initialize)(struct tly_provider* provider, const tly_options_t* options);
  void (*provider_finalize)(struct tly_provider* provider);
  void* reserved_a;
  void* reserved_b;
  /* A zero-filled group from calloc(3), possibly followed by bytes of the provider's own, with
   * component_id, granularity and num_counter_sets set; null on failure. */
  tly_counter_group_t* (*counter_group_create)(const tly_component_t* component);
  /* Releases the group and returns true. */
  bool (*counter_group_destroy)(tly_counter_group_t* group);
  /* Accepts a counter by adding 1 to the group's num_counters and returning true, or refuses it. */
  bool (*counter_group_add_counter)(tly_counter_group_t* group, const tly_counter_info_t* counter);
  bool (*counter_group_start)(tly_counter_group_t* group);
  /* The values pointer may be null. */
  bool (*counter_group_stop)(tly_counter_group_t* group, tly_counter_value_t* values);
  /* Writes each counter's value at the counter's offset in `values`. */
  bool (*counter_group_read)(tly_counter_group_t* group, tly_counter_value_t* values);
} tly_provider_t;

/* Releases a component with its counters and strings. Null is allowed. */
TLY_API void tly_free_component_info(tly_component_t* component);

/* Descriptions as new JSON objects, released with json_value_free(). Null, with a message unless
 * memory ran out, when one cannot be encoded, such as that of a component whose name or description
 * is null or not UTF-8. A disabled component has its status instead of its counters. Counters come
 * with their components only. */
TLY_API JSON_Value* tly_jsonify_component_info(const tly_component_t* component,
                                               bool with_counters);
TLY_API JSON_Value* tly_jsonify_provider_info(const tly_provider_t* provider, bool with_components,
                                              bool with_counters);

/* The same as text. The provider's form flushes the stream. */
TLY_API void tly_print_component_info(const tly_component_t* component, bool with_counters,
                                      FILE* stream);
TLY_API void tly_print_provider_info(const tly_provider_t* provider, bool with_components,
                                     bool with_counters, FILE* stream);

/* The first counter of that name, inside the component; and the first component that holds one.
 * Null without. */
TLY_API tly_counter_info_t* tly_query_counter_information(const tly_component_t* component,
                                                          const char* name);
TLY_API tly_component_t* tly_query_counter_component(const tly_provider_t* provider,
                                                     const char* name);

#ifdef __cplusplus
}
#endif

#endif
