/* The interface of the remote-executor client library, libqpx_client.so.
 *
 * The mediator binds these seven functions by name at run time; a client library exports them.
 * Their order: qpx_client_init once; per provider one create, any number of progress calls,
 * terminate; qpx_client_destroy once. There is no terminate for a provider whose details turn out
 * to be unusable, whose remote id is given to another, or that is still there at the end. Commands
 * may be run at any time between init and destroy, from any thread. Everything a client hands out
 * through an address or a details record is heap memory that passes to the caller, who releases it
 * with free(3), and `sources` with tly_destroy_source_array(). A client may link
 * libvintor_provider.so, to build sources and write events; both then stay loaded until the process
 * ends. */
#ifndef TALLYRA_QPX_CLIENT_H
#define TALLYRA_QPX_CLIENT_H

#include <stdbool.h>
#include <stdint.h>

#include "tallyra/event_provider.h"
#include "tallyra/options.h"
#include "tallyra/sources.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The provider that a create call started. */
typedef struct qpx_event_provider_details {
  uint32_t record_id; /* becomes the `id` of an event provider's record */
  char* name;
  char* description;
  char* type_system_json; /* a counters schema or an event schema, as a serialized type system */
  tly_source_array_t* sources;          /* event providers only */
  tly_event_provider_config_t* configs; /* event providers only */
  uint32_t unused;                      /* not read */
  uint32_t remote_id;                   /* names the provider in progress and terminate */
} qpx_event_provider_details_t;

/* The client handle; null means that there is no connection. */
typedef void* (*qpx_client_init_t)(void);
typedef void (*qpx_client_destroy_t)(void* ctx);

/* True when the remote provider runs and the details are filled. On false nothing in the details is
 * read or released. `name` should be the name asked for. The groups of a counters schema have
 * different names and at least one counter each, and every counter has a length: 8 for a number,
 * above 0 for a STRING. */
typedef bool (*qpx_client_event_provider_create_t)(void* ctx, const char* name,
                                                   const tly_custom_options* options,
                                                   qpx_event_provider_details_t* details);
typedef bool (*qpx_client_counter_provider_create_t)(void* ctx, const char* name,
                                                     const tly_options_t* options,
                                                     qpx_event_provider_details_t* details);

/* True when `buffer` and `size` (bytes) hold fresh data; a size of 0 means nothing new. The data is
 * a tly_counters_data_t with the values of all groups back to back in the order of the schema,
 * whose offsets are not read, or a sequence of events records (data_serializer.h) whose type
 * indexes are those of the provider's last schema; of a record's header only the type letter, the
 * type index and the count are read. On false and with a size of 0, too, what stands in `buffer` is
 * released. The source index is 0 for counter providers. */
typedef bool (*qpx_client_event_provider_progress_t)(void* ctx, uint32_t remote_id,
                                                     uint16_t source_index, void** buffer,
                                                     uint64_t* size);

/* A status that is handed to the agent as it is. */
typedef int32_t (*qpx_client_event_provider_terminate_t)(void* ctx, uint32_t remote_id);

/* See rpe_mediator_run_command(). */
typedef bool (*qpx_client_run_command_t)(void* ctx, const char* command, bool flag,
                                         uint32_t time_limit, char** output, uint64_t* length);

#ifdef __cplusplus
}
#endif

#endif
