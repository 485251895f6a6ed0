/* Name matching: which providers, components and counters a configuration selects.
 *
 * Pattern lists are string arrays; a null or empty list matches nothing. Nothing is kept between
 * calls. */
#ifndef TALLYRA_NAME_MATCHING_H
#define TALLYRA_NAME_MATCHING_H

#include <stdbool.h>
#include <stdint.h>

#include "tallyra/export.h"
#include "tallyra/options.h"
#include "tallyra/string_array.h"

#ifdef __cplusplus
extern "C" {
#endif

/* How a pattern is held against a name. Any other value matches nothing. */
enum {
  TLY_NAME_MATCHING_EXACT = 0,
  /* fnmatch(3) without regard to case, for the pattern and for the pattern followed by ".*" */
  TLY_NAME_MATCHING_WILDCARD = 1,
  /* the pattern occurs in the name */
  TLY_NAME_MATCHING_CONTAINS = 3
};
typedef uint32_t tly_name_matching_t;

/* The name of a mode, or null; and the mode of a name, or 0xFFFFFFFF. "regexp" is another name for
 * exact matching. */
TLY_API const char* tly_name_matching_string(uint32_t mode);
TLY_API uint32_t tly_name_matching_from_string(const char* name);

/* Whether at least one pattern matches. */
TLY_API bool tly_match_patterns(const char* name, const tly_string_array_t* patterns,
                                tly_name_matching_t mode);

/* Whether an enable pattern and no disable pattern selects the name (wildcards). Being selected by
 * both draws a warning. */
TLY_API bool tly_plugin_is_enabled(const char* name, const tly_string_array_t* enable,
                                   const tly_string_array_t* disable);

/* The same for a plug-in's file name: wildcards or substrings enable, substrings disable. */
TLY_API bool tly_plugin_file_is_enabled(const char* name, const tly_string_array_t* enable,
                                        const tly_string_array_t* disable);

/* Whether the component "provider.component" is to be offered. Without options, or with neither
 * list, everything is; with only a disable list, nothing is. */
TLY_API bool tly_comp_is_enabled(const char* name, const tly_options_t* options);

/* Whether the file name holds the plug-in part of some "plugin.component" pattern. */
TLY_API bool tly_plugin_file_component_is_enabled(const char* file_name,
                                                  const tly_string_array_t* patterns);

/* The names that `enable` selects and `disable` does not, with the mandatory names, sorted and,
 * when there are mandatory names, without duplicates; to be released with tly_free_string_array().
 * Null for null names or when memory runs out. */
TLY_API tly_string_array_t* tly_match_counter_names(const tly_string_array_t* names,
                                                    const tly_string_array_t* enable,
                                                    const tly_string_array_t* disable,
                                                    const tly_string_array_t* mandatory,
                                                    tly_name_matching_t mode);

#ifdef __cplusplus
}
#endif

#endif
