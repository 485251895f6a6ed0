/* The remote provider mediator: what the remote-executor client, libqpx_client.so, makes reachable.
 *
 * The client library is searched for while this library is being loaded, in QPX_CLIENT_SO, by the
 * dynamic loader, and in $TLY_ROOT/lib/; whether it could be connected is fixed for the life of the
 * process. */
#ifndef TALLYRA_RPE_MEDIATOR_H
#define TALLYRA_RPE_MEDIATOR_H

#include <stdbool.h>
#include <stdint.h>

#include "tallyra/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Runs a command line through the client. `flag` and `time_limit` (in the client's unit, seconds)
 * are passed on unchanged, as are the two addresses, either of which may be null. On true, the
 * addresses given hold NUL-terminated text, to be released with free(3), and its length in bytes;
 * on false, nothing usable. Without a connection it writes nothing and returns false. May be called
 * from any thread. */
TLY_API bool rpe_mediator_run_command(const char* command, bool flag, uint32_t time_limit,
                                      char** output, uint64_t* length);

#ifdef __cplusplus
}
#endif

#endif
