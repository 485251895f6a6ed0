/* Schema ids: 16 bytes that name a schema by its content, the MD5 digest of its pretty JSON text.
 *
 * All zeros means unset. A fixed marker stands for blob data, which has no schema. Nothing here
 * keeps state; what a function allocates belongs to the caller and is freed with free(3). */
#ifndef TALLYRA_SCHEMA_ID_H
#define TALLYRA_SCHEMA_ID_H

#include <stdbool.h>
#include <stdint.h>

#include "tallyra/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct tly_schema_id {
  uint8_t bytes[16];
} tly_schema_id_t;

/* Bytes of an id's text: 32 lower-case hexadecimal digits and the terminating NUL. */
#define TLY_SCHEMA_ID_STRING_SIZE 33

TLY_API bool tly_schema_id_is_unset(const tly_schema_id_t* id);
TLY_API void tly_copy_schema_id(tly_schema_id_t* destination, const tly_schema_id_t* source);
/* Makes the id unset. */
TLY_API void tly_reset_schema_id(tly_schema_id_t* id);
/* Compares bytewise, as memcmp(3). */
TLY_API int tly_compare_schema_id(const tly_schema_id_t* a, const tly_schema_id_t* b);

/* The id's text in a new string, or null. */
TLY_API char* tly_schema_id_string(const tly_schema_id_t* id);
/* The id's text into a buffer of at least TLY_SCHEMA_ID_STRING_SIZE bytes. */
TLY_API void tly_schema_id_to_schema_string(const tly_schema_id_t* id, char* text);
/* Reads 32 hexadecimal digits of either case and ignores what follows them. A null text is true and
 * leaves `id`; a text that is too short or holds other characters is false, the bytes before it
 * already stored. */
TLY_API bool tly_schema_from_id_string(const char* text, tly_schema_id_t* id);

TLY_API bool tly_schema_id_is_blob(const tly_schema_id_t* id);
TLY_API void tly_schema_id_set_blob(tly_schema_id_t* id);

#ifdef __cplusplus
}
#endif

#endif
