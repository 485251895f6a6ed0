/* The agent's options, as it passes them to providers. The agent owns the record and all it points
 * to; providers only read it. */
#ifndef TALLYRA_OPTIONS_H
#define TALLYRA_OPTIONS_H

#include "tallyra/dictionary.h"
#include "tallyra/string_array.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef tly_dict_t tly_custom_options;

typedef struct tly_options {
  tly_string_array_t* enable_patterns;  /* "enable-provider" patterns, or null */
  tly_string_array_t* disable_patterns; /* "disable-provider" patterns, or null */
  tly_custom_options* custom_options;   /* the agent's other options by name, or null */
} tly_options_t;

#ifdef __cplusplus
}
#endif

#endif
