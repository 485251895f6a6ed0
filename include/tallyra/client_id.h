/* The identity of a client: its host name and a port. */
#ifndef TALLYRA_CLIENT_ID_H
#define TALLYRA_CLIENT_ID_H

#include <stddef.h>
#include <stdint.h>

#include "tallyra/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct tly_client_id {
  char host_name[64]; /* NUL-terminated */
  uint16_t port;
} tly_client_id_t;

/* Fills `buffer` with TLY_HOST_NAME when it is set, else with the system's host name cut at its
 * first dot, and returns it; null for a size of 0 or when gethostname(2) fails, as it does for a
 * name that has no room. At most `size` - 1 bytes are written: pass a zero-filled buffer, so that
 * the last byte terminates the name. */
TLY_API char* tly_get_hostname(char* buffer, size_t size);

/* A new client id with this host's name and port 0, released with free(3); null on failure. */
TLY_API tly_client_id_t* tly_client_id_allocate(void);

/* Copies both members, the whole 64 bytes of the name. */
TLY_API void tly_client_id_copy(tly_client_id_t* destination, const tly_client_id_t* source);

/* Prints nothing; kept for the interface. */
TLY_API void tly_client_id_print(const tly_client_id_t* client_id);

/* Prints the record's layout to standard output. */
TLY_API void tly_client_id_print_struct_layout(void);

#ifdef __cplusplus
}
#endif

#endif
