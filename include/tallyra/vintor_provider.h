/* The performance-counter provider "vintor".
 *
 * construct_counter_provider() discovers the counters by running /usr/bin/vintor_pmc once, and
 * starts a thread that runs it again every second (TLY_VINTOR_SAMPLE_INTERVAL_NSEC). Reading a
 * group copies the latest whole sample; before the first one it leaves the buffer untouched. A
 * counter without a value reads as all bits set (UINT64) or 0.0. Offsets must be unique among all
 * started groups.
 *
 * The agent drives the provider through the callbacks of the record it gets; the callbacks and the
 * collector functions below are exported by name as well. None of them throws. They are called from
 * one thread at a time; not from a log function, which may run on the sampling thread, and not in a
 * forked child, which has no sampling thread. Finalize before unloading the library: it ends the
 * sampling thread. */
#ifndef TALLYRA_VINTOR_PROVIDER_H
#define TALLYRA_VINTOR_PROVIDER_H

#include <stdbool.h>

#include "tallyra/counter_group.h"
#include "tallyra/counter_provider.h"
#include "tallyra/export.h"
#include "tallyra/options.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The library's one provider record, never to be freed, or null when the tool is missing or its
 * output unusable. While the provider is running the same record is returned again as it is; after
 * a finalize it is initialised anew. */
TLY_API tly_provider_t* construct_counter_provider(const tly_options_t* options);

/* The callbacks of that record. */
TLY_API bool vintor_provider_initialize(tly_provider_t* provider, const tly_options_t* options);
TLY_API void vintor_provider_finalize(tly_provider_t* provider);
TLY_API tly_counter_group_t* vintor_counter_group_create(const tly_component_t* component);
TLY_API bool vintor_counter_group_destroy(tly_counter_group_t* group);
TLY_API bool vintor_counter_group_add_counter(tly_counter_group_t* group,
                                              const tly_counter_info_t* counter);
TLY_API bool vintor_counter_group_start(tly_counter_group_t* group);
TLY_API bool vintor_counter_group_stop(tly_counter_group_t* group, tly_counter_value_t* values);
TLY_API bool vintor_counter_group_read(tly_counter_group_t* group, tly_counter_value_t* values);

/* The collector behind them; `context` is what vintor_collector_initialize_ctx() returned. */

/* A new idle collector, or null. */
TLY_API void* vintor_collector_initialize_ctx(void);
/* Starts sampling on a thread of the collector's own; false when it samples already or no thread
 * can be made. */
TLY_API bool vintor_collector_start(void* context);
/* Ends sampling and joins the thread: waits for the tool run and the pause under way. */
TLY_API void vintor_collector_stop(void* context);
/* Stops and releases the collector; null is allowed. */
TLY_API void vintor_collector_destroy_ctx(void* context);
/* Whether the tool exists. */
TLY_API bool vintor_collector_is_available(void);
/* Fills an empty provider record with the components and counters that the tool reports. */
TLY_API bool vintor_collector_init_provider(tly_provider_t* provider, const tly_options_t* options);
/* Registers the group's counters for reads; must not overlap a read. */
TLY_API bool vintor_collector_add_group(void* context, tly_counter_group_t* group);
/* Copies the group's values, 8 bytes at each counter's offset. */
TLY_API bool vintor_collector_read_group(void* context, tly_counter_group_t* group,
                                         tly_counter_value_t* values);

#ifdef __cplusplus
}
#endif

#endif
