/* String arrays: the list type of patterns, counter names and configuration lines.
 *
 * An array is one heap block, the count followed by as many pointers, and owns every string in it.
 * Operations that add take the address of the caller's pointer, because the block may move. Failure
 * shows as false or null; a failed append loses nothing. Not synchronised. */
#ifndef TALLYRA_STRING_ARRAY_H
#define TALLYRA_STRING_ARRAY_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "tallyra/export.h"

#ifdef __cplusplus
extern "C" {
#endif

TLY_FLEXIBLE_ARRAY_BEGIN
typedef struct tly_string_array {
  uint64_t count;
  char* strings[]; /* `count` owned strings */
} tly_string_array_t;
TLY_FLEXIBLE_ARRAY_END

/* A new empty array, or null. */
TLY_API tly_string_array_t* tly_init_string_array(void);

/* Appends a copy of `string`; a null array is created first. False for a null string or when memory
 * runs out. */
TLY_API bool tly_append_string_array(tly_string_array_t** array, const char* string);

/* Releases the array and its strings; null is allowed. */
TLY_API void tly_free_string_array(tly_string_array_t* array);

/* Logs one line per string at the given level: label, index, text. */
TLY_API void tly_log_string_array(int level, const tly_string_array_t* array, const char* label);

/* Appends copies of all strings of `source`. When the block cannot grow, false with the destination
 * untouched; when a string cannot be copied, the destination is released, the caller's pointer set
 * to null, and the result is false. */
TLY_API bool tly_string_array_join(tly_string_array_t** destination,
                                   const tly_string_array_t* source);

/* The non-empty tokens between the commas of the first `length` characters, blanks kept; a NUL ends
 * its token. Null when memory runs out. */
TLY_API tly_string_array_t* tly_string_array_from_comma_separated_string(const char* characters,
                                                                         size_t length);

/* Removes adjacent duplicates. `sorted` must be true: anything else is refused. */
TLY_API bool tly_string_array_remove_duplicates(tly_string_array_t** array, bool sorted);

/* Whether some string equals the argument. */
TLY_API bool tly_string_array_contains(const tly_string_array_t* array, const char* string);

/* Appends the lines of a text file without surrounding white space, leaving out empty lines and
 * those that begin with '#'. `label` names the file's role in messages and may be null. */
TLY_API bool tly_string_array_append_file_lines(tly_string_array_t** array, const char* path,
                                                const char* label);

#ifdef __cplusplus
}
#endif

#endif
