/* The JSON value type that the library hands out and takes.
 *
 * A function that returns a JSON_Value or a JSON text gives it to the caller, who releases it with
 * json_value_free() or json_free_serialized_string(). Those and all accessors are declared in
 * tallyra/parson.h; include it to look inside a value. */
#ifndef TALLYRA_JSON_H
#define TALLYRA_JSON_H

typedef struct json_value_t JSON_Value;

#endif
