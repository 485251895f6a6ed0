#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "value.h"

namespace tly::json {
namespace {

constexpr std::size_t kFirstCapacity = 4;

// Makes room for one more element; what is in the block is left there and copied.
bool grow_elements(JSON_Array* array) noexcept {
  if (array->size < array->capacity) return true;
  if (array->size >= kMaxChildren) return false;
  const std::size_t capacity = std::max(kFirstCapacity, std::size_t{array->capacity} * 2);
  void* grown = std::realloc(array->elements_are_in_block ? nullptr : array->elements,
                             capacity * sizeof(JSON_Value*));
  if (grown == nullptr) return false;
  if (array->elements_are_in_block) {
    std::memcpy(grown, array->elements, array->size * sizeof(JSON_Value*));
  }
  array->elements = static_cast<JSON_Value**>(grown);
  array->elements_are_in_block = false;
  array->capacity = static_cast<std::uint32_t>(capacity);
  return true;
}

// Append or put in place a value that was made for this element and is nobody else's.
JSON_Status append_new_value(JSON_Array* array, JSON_Value* value) noexcept {
  const JSON_Status status = json_array_append_value(array, value);
  if (status != JSONSuccess) json_value_free(value);
  return status;
}

JSON_Status replace_by_new_value(JSON_Array* array, std::size_t index, JSON_Value* value) noexcept {
  const JSON_Status status = json_array_replace_value(array, index, value);
  if (status != JSONSuccess) json_value_free(value);
  return status;
}

}  // namespace

void remove_element_at(JSON_Array* array, std::size_t position) noexcept {
  JSON_Value* removed = array->elements[position];
  const std::size_t later = array->size - position - 1;
  std::memmove(array->elements + position, array->elements + position + 1,
               later * sizeof(JSON_Value*));
  --array->size;
  free_tree(removed);
}

void free_array_storage(JSON_Array* array) noexcept {
  if (!array->elements_are_in_block) std::free(array->elements);
}

}  // namespace tly::json

using namespace tly::json;

JSON_Value* json_array_get_value(const JSON_Array* array, std::size_t index) {
  return index < json_array_get_count(array) ? array->elements[index] : nullptr;
}

const char* json_array_get_string(const JSON_Array* array, std::size_t index) {
  return json_value_get_string(json_array_get_value(array, index));
}

JSON_Object* json_array_get_object(const JSON_Array* array, std::size_t index) {
  return json_value_get_object(json_array_get_value(array, index));
}

JSON_Array* json_array_get_array(const JSON_Array* array, std::size_t index) {
  return json_value_get_array(json_array_get_value(array, index));
}

double json_array_get_number(const JSON_Array* array, std::size_t index) {
  return json_value_get_number(json_array_get_value(array, index));
}

int json_array_get_boolean(const JSON_Array* array, std::size_t index) {
  return json_value_get_boolean(json_array_get_value(array, index));
}

std::size_t json_array_get_count(const JSON_Array* array) {
  return array == nullptr ? 0 : array->size;
}

JSON_Value* json_array_get_wrapping_value(const JSON_Array* array) {
  return const_cast<JSON_Array*>(array);
}

JSON_Status json_array_append_value(JSON_Array* array, JSON_Value* value) {
  if (array == nullptr || !may_adopt(array, value) || !grow_elements(array)) return JSONFailure;
  array->elements[array->size++] = value;
  value->parent = array;
  return JSONSuccess;
}

JSON_Status json_array_append_string(JSON_Array* array, const char* string) {
  return append_new_value(array, json_value_init_string(string));
}

JSON_Status json_array_append_number(JSON_Array* array, double number) {
  return append_new_value(array, json_value_init_number(number));
}

JSON_Status json_array_append_boolean(JSON_Array* array, int boolean) {
  return append_new_value(array, json_value_init_boolean(boolean));
}

JSON_Status json_array_append_null(JSON_Array* array) {
  return append_new_value(array, json_value_init_null());
}

JSON_Status json_array_replace_value(JSON_Array* array, std::size_t index, JSON_Value* value) {
  if (index >= json_array_get_count(array) || !may_adopt(array, value)) return JSONFailure;
  free_tree(array->elements[index]);
  array->elements[index] = value;
  value->parent = array;
  return JSONSuccess;
}

JSON_Status json_array_replace_string(JSON_Array* array, std::size_t index, const char* string) {
  return replace_by_new_value(array, index, json_value_init_string(string));
}

JSON_Status json_array_replace_number(JSON_Array* array, std::size_t index, double number) {
  return replace_by_new_value(array, index, json_value_init_number(number));
}

JSON_Status json_array_replace_boolean(JSON_Array* array, std::size_t index, int boolean) {
  return replace_by_new_value(array, index, json_value_init_boolean(boolean));
}

JSON_Status json_array_replace_null(JSON_Array* array, std::size_t index) {
  return replace_by_new_value(array, index, json_value_init_null());
}

JSON_Status json_array_remove(JSON_Array* array, std::size_t index) {
  if (index >= json_array_get_count(array)) return JSONFailure;
  remove_element_at(array, index);
  return JSONSuccess;
}

JSON_Status json_array_clear(JSON_Array* array) {
  if (array == nullptr) return JSONFailure;
  for (; array->size != 0; --array->size) free_tree(array->elements[array->size - 1]);
  return JSONSuccess;
}
