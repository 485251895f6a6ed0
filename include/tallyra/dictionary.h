/* Dictionary: strings to strings.
 *
 * Keys and values are copied in and owned by the dictionary; a value may be null. Single keys
 * cannot be removed. Every function accepts a null dictionary. Lookups and additions take constant
 * expected time. Not synchronised. */
#ifndef TALLYRA_DICTIONARY_H
#define TALLYRA_DICTIONARY_H

#include <stdbool.h>

#include "tallyra/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct tly_dict tly_dict_t;

/* Called for each entry; false ends the enumeration. The texts belong to the dictionary. */
typedef bool (*tly_dict_callback_t)(const char* key, const char* value, void* user);

/* A new empty dictionary, to be released with tly_dict_delete(); null when memory runs out. */
TLY_API tly_dict_t* tly_dict_create(void);

/* Adds an entry or replaces its value. False for a null dictionary or key, or when memory runs out;
 * the dictionary is then unchanged. */
TLY_API bool tly_dict_add(tly_dict_t* dict, const char* key, const char* value);

/* The stored value, owned by the dictionary and valid until it is replaced; null for a missing key
 * or a null value. */
TLY_API const char* tly_dict_get(const tly_dict_t* dict, const char* key);

/* Visits the entries in bucket order until the callback returns false; true when it never did. The
 * callback must not change the dictionary. */
TLY_API bool tly_dict_enum(const tly_dict_t* dict, tly_dict_callback_t callback, void* user);

/* Logs the label and every entry at debug level. */
TLY_API void tly_dict_dump(const tly_dict_t* dict, const char* label);

/* A new dictionary with copies of all entries, or null. */
TLY_API tly_dict_t* tly_dict_dup(const tly_dict_t* dict);

/* Releases the dictionary and all it holds; null is allowed. */
TLY_API void tly_dict_delete(tly_dict_t* dict);

#ifdef __cplusplus
}
#endif

#endif
