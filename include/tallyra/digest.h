/* MD5 digests (RFC 1321). They identify schemas; they protect nothing. */
#ifndef TALLYRA_DIGEST_H
#define TALLYRA_DIGEST_H

#include <stddef.h>
#include <stdint.h>

#include "tallyra/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Writes the digest of `length` bytes into `digest` and returns it. */
TLY_API uint8_t* tly_MD5(const void* data, size_t length, uint8_t digest[16]);

#ifdef __cplusplus
}
#endif

#endif
