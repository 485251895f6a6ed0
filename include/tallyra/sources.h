/* Sources: where streams of events come from.
 *
 * A source is the machine itself, one of a set of numbered sources, or a device named in a file.
 * The fixed-size texts of a source are cut to fit, never refused. A source array owns its storage
 * and its sources. Failure shows as null or false with nothing left allocated. Not synchronised. */
#ifndef TALLYRA_SOURCES_H
#define TALLYRA_SOURCES_H

#include <stdbool.h>
#include <stdint.h>

#include "tallyra/export.h"

#ifdef __cplusplus
extern "C" {
#endif

#define TLY_SOURCE_ID_SIZE 64
#define TLY_SOURCE_TAG_SIZE 16
#define TLY_MAX_SOURCES 65534

/* The index of a source that is not in an array. */
#define TLY_SOURCE_NOT_FOUND 0xFFFF

/* Both texts end with a NUL. */
typedef struct tly_source {
  char id[TLY_SOURCE_ID_SIZE];
  char tag[TLY_SOURCE_TAG_SIZE];
} tly_source_t;

typedef struct tly_source_array {
  uint16_t count;
  tly_source_t** sources; /* null while empty */
} tly_source_array_t;

/* A new source; a null text counts as empty. Released with tly_destroy_source(). */
TLY_API tly_source_t* tly_create_source(const char* id, const char* tag);

/* A new source named by TLY_SOURCE_ID, which may be empty, or else by the host
 * (tly_get_hostname()). An error message when the host name cannot be had. */
TLY_API tly_source_t* tly_create_default_source(const char* tag);

/* Null is allowed. */
TLY_API void tly_destroy_source(tly_source_t* source);

/* Copies both texts whole. Neither here nor in the comparison may a source be null. */
TLY_API void tly_source_copy(tly_source_t* destination, const tly_source_t* source);

/* Compares the ids, then the tags, as strcmp(3). */
TLY_API int tly_source_compare(const tly_source_t* a, const tly_source_t* b);

/* A new string holding the id, released with free(3). */
TLY_API char* tly_source_string(const tly_source_t* source);

/* Writes "id:tag" into `size` bytes; false, writing nothing, when it does not fit with its NUL. */
TLY_API bool tly_source_full_string(const tly_source_t* source, char* buffer, uint64_t size);

/* An empty array, released with tly_destroy_source_array(). */
TLY_API tly_source_array_t* tly_create_source_array(void);

/* An array that holds one default source. */
TLY_API tly_source_array_t* tly_create_default_source_array(const char* tag);

/* Appends the source, which then belongs to the array. False for a null source, a full array
 * (TLY_MAX_SOURCES) or when memory runs out; the source is then still the caller's. */
TLY_API bool tly_source_array_append(tly_source_array_t* array, tly_source_t* source);

/* The first index of that very record, not of an equal one; TLY_SOURCE_NOT_FOUND without. */
TLY_API uint16_t tly_source_array_find_source(const tly_source_array_t* array,
                                              const tly_source_t* source);

/* Logs each source at debug level under the name; returns their number. */
TLY_API uint16_t tly_source_array_log(const tly_source_array_t* array, const char* name);

/* Destroys the sources too. Null is allowed. */
TLY_API void tly_destroy_source_array(tly_source_array_t* array);

/* Numbered sources, named "base_number", from one of
 *   N              1 to N
 *   A-B            A to B
 *   prefix[A-B]    A to B, with the prefix, which may be empty, as base
 * where the base is otherwise that of the default source, and what follows "]" is ignored. Numbers
 * are written as strtol(3) takes them with base 0 and fit 32 bits signed. Null, with an error
 * message, for anything else; null without one for more than TLY_MAX_SOURCES or when memory runs
 * out. */
TLY_API tly_source_array_t* tly_create_source_array_from_string(const char* text);

/* Sources from a file when one of that name exists, else from the text as above. A file in which
 * "H-" or "S-" occurs is a device list: each line gives the text, which may be empty, between its
 * first parentheses. Any other gives one source per line that is not empty. Lines are read in
 * pieces of at most 1,023 characters. Null, with error messages, when the file cannot be read, as
 * when it is a directory.
 */
TLY_API tly_source_array_t* tly_create_source_array_from_input(const char* text);

#ifdef __cplusplus
}
#endif

#endif
