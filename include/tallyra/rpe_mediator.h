/* The remote provider mediator: what the remote-executor client, libqpx_client.so, makes reachable.
 *
 * The client library is searched for while this library is being loaded, in QPX_CLIENT_SO, by the
 * dynamic loader, and in $TLY_ROOT/lib/; whether it could be connected is fixed while it stays
 * loaded. Everything here but the command runner is for one thread at a time. */
#ifndef TALLYRA_RPE_MEDIATOR_H
#define TALLYRA_RPE_MEDIATOR_H

#include <stdbool.h>
#include <stdint.h>

#include "tallyra/counter_group.h"
#include "tallyra/counter_provider.h"
#include "tallyra/event_provider.h"
#include "tallyra/export.h"
#include "tallyra/options.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Constructs the next remote provider. The names stand in the custom option "enable-provider", each
 * after a "grpc.", wherever that stands, and up to the next comma, blanks included; each call of
 * either function takes the next one, also when that is empty. A name that fails in one function is
 * offered to the next call of either, so call both in turn; a name that failed in both is passed
 * over, one per call. Null when this call constructed nothing: without a connection, when there are
 * no more names, when a provider of the same plug-in is loaded ("a" and "a.b" are one), or when the
 * remote provider cannot be started.
 *
 * The record belongs to the mediator. The counter provider's provider_finalize and the event
 * provider's event_provider_stop end the remote provider and release the record with all that hangs
 * from it: destroy groups and drop pointers to components first. Nothing else ends the remote
 * provider, unloading does not. The record is also released, though the remote provider is not
 * ended, when another one is constructed to which the client gives the same remote id. */
TLY_API tly_provider_t* rpe_mediator_construct_counter_provider(const tly_options_t* options);
TLY_API tly_event_provider_t* rpe_mediator_construct_event_provider(
    const tly_custom_options* options);

/* Runs a command line through the client. `flag` and `time_limit` (in the client's unit, seconds)
 * are passed on unchanged, as are the two addresses, either of which may be null. On true, the
 * addresses given hold NUL-terminated text, to be released with free(3), and its length in bytes;
 * on false, nothing usable. Without a connection it writes nothing and returns false. May be called
 * from any thread. */
TLY_API bool rpe_mediator_run_command(const char* command, bool flag, uint32_t time_limit,
                                      char** output, uint64_t* length);

/* The callbacks of mediated counter providers (counter_provider.h).
 *
 * In each read cycle read the groups in component order, the group of component 0 first: it fetches
 * the remote values of all, and the group of the last component releases them. A group copies one
 * range of bytes, from the component's first counter on, to the offset of the group's first
 * counter; the range ends where the group's last counter ends. So give every component a group of
 * all its counters, in order, laid out back to back, with lengths above 0: a group that lacks some
 * reads the values of others. Groups find their values by name, so two of one name read the same.
 *
 * A read that is true has written nothing when the group is empty or when nothing new came; the
 * groups after it are then false. Where that matters, fill the values area beforehand. */
TLY_API bool grpc_counter_provider_initialize(tly_provider_t* provider,
                                              const tly_options_t* options);
TLY_API void grpc_counter_provider_finalize(tly_provider_t* provider);
TLY_API tly_counter_group_t* grpc_counter_group_create(const tly_component_t* component);
TLY_API bool grpc_counter_group_destroy(tly_counter_group_t* group);
TLY_API bool grpc_counter_group_add_counter(tly_counter_group_t* group,
                                            const tly_counter_info_t* counter);
TLY_API bool grpc_counter_group_start(tly_counter_group_t* group);
TLY_API bool grpc_counter_group_stop(tly_counter_group_t* group, tly_counter_value_t* values);
TLY_API bool grpc_counter_group_read(tly_counter_group_t* group, tly_counter_value_t* values);

/* The callbacks of mediated event providers (event_provider.h). Sources and configuration are there
 * until start; every source has the same configuration. */
TLY_API bool grpc_event_provider_initialize(tly_event_provider_t* provider,
                                            tly_type_system_t* type_system);
TLY_API bool grpc_event_provider_start(tly_event_provider_t* provider);
TLY_API int32_t grpc_event_provider_progress(tly_event_provider_t* provider, uint16_t source_index,
                                             tly_data_serializer_t* serializer);
TLY_API int32_t grpc_event_provider_stop(tly_event_provider_t* provider);
TLY_API void grpc_event_provider_finalize(tly_event_provider_t* provider);
TLY_API tly_source_array_t* grpc_event_provider_get_sources(tly_event_provider_t* provider);
TLY_API bool grpc_event_provider_get_source_config(tly_event_provider_t* provider,
                                                   uint16_t source_index,
                                                   tly_event_provider_config_t* config);

#ifdef __cplusplus
}
#endif

#endif
