/* JSON values: parsing, building, reading, validation and serialization.
 *
 * 1. Ownership. A function that returns a new value gives it to the caller, who releases it with
 *    json_value_free(). A value added to an object or array belongs to that container from then on;
 *    objects, arrays, names and texts returned by the getters belong to the value they were read
 *    from and live as long as it does. A member's name lives until the member is removed. A
 *    serialized text belongs to the caller, who releases it with json_free_serialized_string().
 * 2. Failure. A function that returns a pointer fails with null, one that returns JSON_Status with
 *    JSONFailure, and a size is then 0. Running out of memory is such a failure everywhere.
 *    Whatever was passed in is then unchanged and still belongs to whom it belonged.
 * 3. Null. Every function accepts null where it takes a pointer: getters then give their default,
 *    the others fail. Getters of something missing or of another type give null, 0 for a number and
 *    -1 for a boolean.
 * 4. Texts end in NUL. A string value that was parsed may hold further NULs, which only
 *    serialization, comparison and copying see. A text of 4 GiB and a container of more than 2^30
 *    children fail like a lack of memory.
 * 5. Depth. Parsing stops at 2048 levels. Values built by hand may be nested deeper: releasing,
 *    copying, comparing, validating and serializing them need no stack, only memory.
 * 6. Numbers are doubles, read and printed with a decimal point whatever the locale is.
 * 7. Threads. A value may be read by several threads at once while none changes it. */
#ifndef TALLYRA_PARSON_H
#define TALLYRA_PARSON_H

#include <stddef.h>

#include "tallyra/export.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct json_value_t JSON_Value;
typedef struct json_object_t JSON_Object;
typedef struct json_array_t JSON_Array;

enum json_value_type {
  JSONError = -1,
  JSONNull = 1,
  JSONString = 2,
  JSONNumber = 3,
  JSONObject = 4,
  JSONArray = 5,
  JSONBoolean = 6
};
typedef int JSON_Value_Type;

enum json_result_t { JSONSuccess = 0, JSONFailure = -1 };
typedef int JSON_Status;

/* Parsing. The first complete value of the text is returned; leading white space, and in the forms
 * without comments a UTF-8 byte order mark, are skipped, and what follows the value is ignored. One
 * comma may follow the last member or element. A name that occurs twice in an object or holds a NUL
 * makes the parse fail. Text inside strings is not checked for valid UTF-8. A file that is empty or
 * cannot be read gives null.
 *
 * The forms with comments first blank out block comments and then comments to the end of a line,
 * both outside strings only. A comment without an end loses its opening token only. */
TLY_API JSON_Value* json_parse_string(const char* string);
TLY_API JSON_Value* json_parse_string_with_comments(const char* string);
TLY_API JSON_Value* json_parse_file(const char* filename);
TLY_API JSON_Value* json_parse_file_with_comments(const char* filename);

/* Serialization. The compact form holds no white space; the pretty form indents by four blanks, has
 * one member or element per line and no newline at its end. Numbers are printed as by "%1.17g".
 *
 * The size counts the terminating NUL. A buffer that is smaller than that is left as it was. A file
 * holds the text without a NUL; when writing it fails, its contents are not defined. */
TLY_API size_t json_serialization_size(const JSON_Value* value);
TLY_API size_t json_serialization_size_pretty(const JSON_Value* value);
TLY_API JSON_Status json_serialize_to_buffer(const JSON_Value* value, char* buffer,
                                             size_t buffer_size);
TLY_API JSON_Status json_serialize_to_buffer_pretty(const JSON_Value* value, char* buffer,
                                                    size_t buffer_size);
TLY_API JSON_Status json_serialize_to_file(const JSON_Value* value, const char* filename);
TLY_API JSON_Status json_serialize_to_file_pretty(const JSON_Value* value, const char* filename);
TLY_API char* json_serialize_to_string(const JSON_Value* value);
TLY_API char* json_serialize_to_string_pretty(const JSON_Value* value);
TLY_API void json_free_serialized_string(char* string);

/* New values. A string must be valid UTF-8 (no overlong forms, surrogates or values above U+10FFFF)
 * and is copied; a number must be finite; a boolean is true when it is not 0. */
TLY_API JSON_Value* json_value_init_object(void);
TLY_API JSON_Value* json_value_init_array(void);
TLY_API JSON_Value* json_value_init_string(const char* string);
TLY_API JSON_Value* json_value_init_number(double number);
TLY_API JSON_Value* json_value_init_boolean(int boolean);
TLY_API JSON_Value* json_value_init_null(void);

/* A copy with everything below the value, without a parent. */
TLY_API JSON_Value* json_value_deep_copy(const JSON_Value* value);

/* 1 when both hold the same, else 0. Numbers are compared exactly, objects by name whatever the
 * order of their members. Two nulls are equal. A lack of memory gives 0. */
TLY_API int json_value_equals(const JSON_Value* a, const JSON_Value* b);

/* Releases a value and everything below it; null is allowed. A value that still has a parent is
 * removed from it first. */
TLY_API void json_value_free(JSON_Value* value);

/* Reading a value. The type of null is JSONError. The parent is the value of the object or array
 * that holds this one, null when there is none. */
TLY_API JSON_Value_Type json_value_get_type(const JSON_Value* value);
TLY_API JSON_Object* json_value_get_object(const JSON_Value* value);
TLY_API JSON_Array* json_value_get_array(const JSON_Value* value);
TLY_API const char* json_value_get_string(const JSON_Value* value);
TLY_API double json_value_get_number(const JSON_Value* value);
TLY_API int json_value_get_boolean(const JSON_Value* value);
TLY_API JSON_Value* json_value_get_parent(const JSON_Value* value);

/* Short forms of the above. */
TLY_API JSON_Value_Type json_type(const JSON_Value* value);
TLY_API JSON_Object* json_object(const JSON_Value* value);
TLY_API JSON_Array* json_array(const JSON_Value* value);
TLY_API const char* json_string(const JSON_Value* value);
TLY_API double json_number(const JSON_Value* value);
TLY_API int json_boolean(const JSON_Value* value);

/* Reading an object, by name in constant expected time or by position; members keep the order in
 * which they were added. json_object_has_value() and json_object_has_value_of_type() give 1 or 0.
 */
TLY_API JSON_Value* json_object_get_value(const JSON_Object* object, const char* name);
TLY_API const char* json_object_get_string(const JSON_Object* object, const char* name);
TLY_API JSON_Object* json_object_get_object(const JSON_Object* object, const char* name);
TLY_API JSON_Array* json_object_get_array(const JSON_Object* object, const char* name);
TLY_API double json_object_get_number(const JSON_Object* object, const char* name);
TLY_API int json_object_get_boolean(const JSON_Object* object, const char* name);
TLY_API size_t json_object_get_count(const JSON_Object* object);
TLY_API const char* json_object_get_name(const JSON_Object* object, size_t index);
TLY_API JSON_Value* json_object_get_value_at(const JSON_Object* object, size_t index);
TLY_API JSON_Value* json_object_get_wrapping_value(const JSON_Object* object);
TLY_API int json_object_has_value(const JSON_Object* object, const char* name);
TLY_API int json_object_has_value_of_type(const JSON_Object* object, const char* name,
                                          JSON_Value_Type type);

/* Changing an object. An existing name keeps its place: its value is released and replaced; a new
 * name is copied and added at the end. Setting a value fails when it has a parent already or when
 * the object lies inside it. Removing a member releases it and keeps the others' order; it fails
 * when there is none of that name. */
TLY_API JSON_Status json_object_set_value(JSON_Object* object, const char* name, JSON_Value* value);
TLY_API JSON_Status json_object_set_string(JSON_Object* object, const char* name,
                                           const char* string);
TLY_API JSON_Status json_object_set_number(JSON_Object* object, const char* name, double number);
TLY_API JSON_Status json_object_set_boolean(JSON_Object* object, const char* name, int boolean);
TLY_API JSON_Status json_object_set_null(JSON_Object* object, const char* name);
TLY_API JSON_Status json_object_remove(JSON_Object* object, const char* name);
TLY_API JSON_Status json_object_clear(JSON_Object* object);

/* Reading an array. */
TLY_API JSON_Value* json_array_get_value(const JSON_Array* array, size_t index);
TLY_API const char* json_array_get_string(const JSON_Array* array, size_t index);
TLY_API JSON_Object* json_array_get_object(const JSON_Array* array, size_t index);
TLY_API JSON_Array* json_array_get_array(const JSON_Array* array, size_t index);
TLY_API double json_array_get_number(const JSON_Array* array, size_t index);
TLY_API int json_array_get_boolean(const JSON_Array* array, size_t index);
TLY_API size_t json_array_get_count(const JSON_Array* array);
TLY_API JSON_Value* json_array_get_wrapping_value(const JSON_Array* array);

/* Changing an array. Replacing releases the element that was there; removing also moves the later
 * ones down. Both fail beyond the end. A value is taken under the same conditions as by an object.
 */
TLY_API JSON_Status json_array_append_value(JSON_Array* array, JSON_Value* value);
TLY_API JSON_Status json_array_append_string(JSON_Array* array, const char* string);
TLY_API JSON_Status json_array_append_number(JSON_Array* array, double number);
TLY_API JSON_Status json_array_append_boolean(JSON_Array* array, int boolean);
TLY_API JSON_Status json_array_append_null(JSON_Array* array);
TLY_API JSON_Status json_array_replace_value(JSON_Array* array, size_t index, JSON_Value* value);
TLY_API JSON_Status json_array_replace_string(JSON_Array* array, size_t index, const char* string);
TLY_API JSON_Status json_array_replace_number(JSON_Array* array, size_t index, double number);
TLY_API JSON_Status json_array_replace_boolean(JSON_Array* array, size_t index, int boolean);
TLY_API JSON_Status json_array_replace_null(JSON_Array* array, size_t index);
TLY_API JSON_Status json_array_remove(JSON_Array* array, size_t index);
TLY_API JSON_Status json_array_clear(JSON_Array* array);

/* JSONSuccess when the value has the shape of the schema: types are equal (a null in the schema
 * accepts anything); an empty object or array accepts any object or array; an object has at least
 * as many members as the schema's and each of those under the same name, of its shape; every
 * element of an array has the shape of the schema's first element. */
TLY_API JSON_Status json_validate(const JSON_Value* schema, const JSON_Value* value);

#ifdef __cplusplus
}
#endif

#endif
