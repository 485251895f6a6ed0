/* String and number utilities on NUL-terminated byte strings.
 *
 * A function that returns a new string allocates it with malloc(3); the caller frees it. The strict
 * conversions follow strtol(3) and its kin with base 0, accept the whole text or nothing, and write
 * their output only on success. */
#ifndef TALLYRA_STRING_UTILS_H
#define TALLYRA_STRING_UTILS_H

#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h> /* strnlen(3), which belongs to this family */

#include "tallyra/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Strict conversions. Leading white space and a sign are accepted, anything after the number is
 * not. The 64-bit unsigned forms take a minus sign as strtoull(3) does; the narrow ones refuse
 * values beyond their range. */
TLY_API bool string_to_long(const char* text, int64_t* value);
TLY_API bool string_to_unsigned_long(const char* text, uint64_t* value);
TLY_API bool string_to_long_long(const char* text, int64_t* value);
TLY_API bool string_to_unsigned_long_long(const char* text, uint64_t* value);
TLY_API bool string_to_sizet(const char* text, size_t* value);
TLY_API bool string_to_u64(const char* text, uint64_t* value);
TLY_API bool string_to_u8(const char* text, uint8_t* value);
TLY_API bool string_to_u16(const char* text, uint16_t* value);
TLY_API bool string_to_u32(const char* text, uint32_t* value);

/* Converts the first `length` bytes, or fewer when a NUL comes earlier. */
TLY_API bool bounded_string_to_int(const char* text, size_t length, int32_t* value);

/* True for null, "1", "true" and "True". */
TLY_API bool tly_string_to_boolean(const char* text);

/* "true" or "false", constant texts. */
TLY_API const char* boolean_to_string(bool value);

/* Cuts trailing white space in place and returns the first character that is not white space. */
TLY_API char* trim_white_space(char* text);

/* printf into a new string of exactly the needed size; null on failure, which is logged. */
TLY_API char* tly_vexpand_string_template(const char* format, va_list arguments) TLY_PRINTF(1, 0);
TLY_API char* tly_expand_string_template(const char* format, ...) TLY_PRINTF(1, 2);

/* The value of a hexadecimal digit, or -1. */
TLY_API int hex_char_to_int(char character);

/* Reads 16 bytes from 32 hexadecimal digits; dashes may stand anywhere. Never writes more than 16
 * bytes; on failure some of them may have been written. */
TLY_API bool string_to_guid(const char* text, uint8_t guid[16]);

/* A new string: a followed by b. */
TLY_API char* string_concat(const char* a, const char* b);

/* A new string: list, comma, token; the token alone when the list is null or empty. */
TLY_API char* string_concat_comma_separated_token(const char* list, const char* token);

/* Finds occurrence `index` (from 0, overlapping ones counted) of the pattern. */
TLY_API bool find_ith_substr(const char* text, const char* pattern, uint64_t index,
                             size_t* position);

/* A new string: what follows the path's last '/'; null for a null or empty path. */
TLY_API char* get_allocated_basename(const char* path);

TLY_API bool tly_string_ends_with(const char* text, const char* suffix);

/* Copies min(count, size - 1) bytes, which the source must hold, and terminates; returns the number
 * copied, 0 for a size of 0. */
TLY_API size_t tly_strncpy(char* destination, size_t size, const char* source, size_t count);

/* Copies the leading printable ASCII characters and fills the rest of `length` bytes with NULs;
 * "N/A" when the first character is neither printable nor NUL. Always terminates; a length of 0
 * writes nothing. */
TLY_API char* strncpy_visible_ascii(char* destination, const char* source, size_t length);

/* A number and its name; a table ends with {-1, null}. */
typedef struct tly_pair {
  int32_t number;
  const char* name;
} tly_pair_t;

/* The name of the first pair with that number, or null. */
TLY_API const char* pair_get_string(const tly_pair_t* table, uint32_t number);

/* The number of the first pair with that name (compared exactly), or 0xFFFFFFFF. */
TLY_API uint32_t pair_get_number(const tly_pair_t* table, const char* name);

/* Prints a value column `width` + 3 characters wide, thousands marked with a k; returns what the
 * print returned. */
TLY_API int print_si_prefixed_value(FILE* stream, uint32_t width, int64_t value);

#ifdef __cplusplus
}
#endif

#endif
