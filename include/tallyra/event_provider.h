/* Event providers: what a plug-in offers as a source of events, and the callbacks through which an
 * agent drives it.
 *
 * The order of calls: initialize; get sources and the source configurations; start; per source
 * progress any number of times; stop; finalize. The provider owns its record until stop, which
 * releases it. An agent calls into one provider from one thread at a time. */
#ifndef TALLYRA_EVENT_PROVIDER_H
#define TALLYRA_EVENT_PROVIDER_H

#include <stdbool.h>
#include <stdint.h>

#include "tallyra/data_serializer.h"
#include "tallyra/sources.h"
#include "tallyra/type_system.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Settings of a source that the provider hands to the agent as they are; what they mean is between
 * the two. */
typedef struct tly_event_provider_config {
  uint64_t value_64;
  uint32_t value_32;
  uint8_t value_8a;
  uint8_t value_8b;
} tly_event_provider_config_t;

/* Results of event_provider_progress. */
enum {
  TLY_PROGRESS_FAILED = -1,
  TLY_PROGRESS_DONE = 0, /* all that there was is written */
  /* The serializer is full: make room and call again for the same source. What is pending is
   * written whatever source is named, so finish one before the next. */
  TLY_PROGRESS_PENDING = 1
};

typedef struct tly_event_provider {
  uint32_t id;
  char* name; /* may be null, as the next */
  char* description;
  void* context; /* the provider's own */
  /* Adds the provider's schemas to the agent's type system. On false some may have been added: stop
   * the provider, do not initialise it again. */
  bool (*event_provider_initialize)(struct tly_event_provider* provider,
                                    tly_type_system_t* type_system);
  void* reserved_e;
  bool (*event_provider_start)(struct tly_event_provider* provider);
  /* Writes what happened since the last call; one of the results above. The serializer's capacity
   * must be at least tly_type_system_get_max_event_type_size() + TLY_EVENTS_HEADER_SIZE, or an
   * event that does not fit stays pending for ever. */
  int32_t (*event_provider_progress)(struct tly_event_provider* provider, uint16_t source_index,
                                     tly_data_serializer_t* serializer);
  /* Ends the provider and releases the record; a status of the provider's own. */
  int32_t (*event_provider_stop)(struct tly_event_provider* provider);
  /* Does not look at its argument, which stop has released. */
  void (*event_provider_finalize)(struct tly_event_provider* provider);
  /* The sources, which then belong to the agent; null when they were taken before. */
  tly_source_array_t* (*event_provider_get_sources)(struct tly_event_provider* provider);
  /* Fills the configuration of a source; false, leaving it alone, without one. */
  bool (*event_provider_get_source_config)(struct tly_event_provider* provider,
                                           uint16_t source_index,
                                           tly_event_provider_config_t* config);
  void* reserved_slots[5];
} tly_event_provider_t;

#ifdef __cplusplus
}
#endif

#endif
