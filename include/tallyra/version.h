/* Versions: major.minor.patch, packed into 32 bits.
 *
 * Bits 0-7 hold the major, 8-15 the minor, 16-31 the patch number; 0 stands for a text that did not
 * parse. */
#ifndef TALLYRA_VERSION_H
#define TALLYRA_VERSION_H

#include <stdbool.h>
#include <stdint.h>

#include "tallyra/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* This library's version, packed and as a constant text. */
TLY_API uint32_t tly_version(void);
TLY_API const char* tly_version_string(void);

/* The text of a packed version, in one static buffer that the next call overwrites: do not use two
 * results in one expression. Not thread-safe. */
TLY_API const char* tly_version_to_string(uint32_t version);

/* The packed version of a text of two or three numbers, or 0. Read as sscanf(3) reads
 * "%hhu.%hhu .%hu": leading blanks and signs are taken, what follows the numbers is ignored, and a
 * number too large for its field keeps its low bits. */
TLY_API uint32_t tly_version_from_string(const char* text);

/* The difference of the majors or, when they are equal, of the minors. Patches are not compared. */
TLY_API int32_t tly_version_compare(uint32_t a, uint32_t b);

/* Whether a reader of version `reader` accepts data of version `data`: same major, minor not older.
 */
TLY_API bool tly_versions_are_compatible(uint32_t data, uint32_t reader);

/* The same for texts; false when either does not parse. */
TLY_API bool tly_version_strings_are_compatible(const char* data, const char* reader);

#ifdef __cplusplus
}
#endif

#endif
