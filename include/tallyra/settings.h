/* Settings taken from the process environment.
 *
 * A setting N has two names: "TLY_" followed by N, which wins, and N itself; a name given with the
 * prefix stands for the same pair. Values belong to the environment and are never freed. Lookups
 * only read the environment and may be made from any thread while nobody changes it. */
#ifndef TALLYRA_SETTINGS_H
#define TALLYRA_SETTINGS_H

#include <stdbool.h>

#include "tallyra/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The setting's text, which may be empty, or null when neither name is set. Two names with
 * different values draw a warning; the choice is logged at debug level. TLY_API_LOG_LEVEL is looked
 * up silently. */
TLY_API const char* tly_getenv(const char* name);

/* Whether the setting begins with y, 1 or t in either case; `default_value` when it is unset or
 * empty. */
TLY_API bool tly_getenv_bool(const char* name, bool default_value);

#ifdef __cplusplus
}
#endif

#endif
