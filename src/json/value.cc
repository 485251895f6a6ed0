#include "value.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "block.h"
#include "utf8.h"

namespace tly::json {
namespace {

// Takes the last child out of a container, which loses it but still holds its name. Null for a
// scalar or when nothing is left.
JSON_Value* take_last_child(JSON_Value* value) noexcept {
  if (!is_container(value) || value->size == 0) return nullptr;
  JSON_Value* child = child_at(value, value->size - 1);
  if (value->type == JSONObject) free_last_name(static_cast<JSON_Object*>(value));
  --value->size;
  return child;
}

void free_one(JSON_Value* value) noexcept {
  if (value->type == JSONObject) free_object_storage(static_cast<JSON_Object*>(value));
  if (value->type == JSONArray) free_array_storage(static_cast<JSON_Array*>(value));
  if (!value->lives_in_parent) std::free(value);
}

void remove_from_parent(JSON_Value* value) noexcept {
  JSON_Value* parent = value->parent;
  std::size_t position = 0;
  while (child_at(parent, position) != value) ++position;
  if (parent->type == JSONObject) {
    remove_member_at(static_cast<JSON_Object*>(parent), position);
  } else {
    remove_element_at(static_cast<JSON_Array*>(parent), position);
  }
}

template <typename Container>
JSON_Value* make_container(JSON_Value_Type type) noexcept {
  auto* container = static_cast<Container*>(std::calloc(1, sizeof(Container)));
  if (container == nullptr) return nullptr;
  container->type = static_cast<std::int8_t>(type);
  return container;
}

JSON_Value* make_flag(JSON_Value_Type type, bool is_set) noexcept {
  Entry entry = {};
  entry.type = static_cast<std::int8_t>(type);
  entry.size = is_set ? 1 : 0;
  return make_scalar(entry);
}

}  // namespace

// Walks down to the last leaf and back up by the parents' pointers, so that no depth needs a stack.
void free_tree(JSON_Value* value) noexcept {
  JSON_Value* current = value;
  for (;;) {
    JSON_Value* child = take_last_child(current);
    if (child != nullptr && is_container(child)) {
      current = child;
    } else if (child != nullptr) {
      free_one(child);
    } else {
      JSON_Value* parent = current->parent;
      const bool is_root = current == value;
      free_one(current);
      if (is_root) return;
      current = parent;
    }
  }
}

bool may_adopt(const JSON_Value* container, const JSON_Value* value) noexcept {
  if (value == nullptr || value->parent != nullptr || value == container) return false;
  const bool may_be_above = is_container(value) && value->size != 0;
  if (!may_be_above) return true;
  while (container->parent != nullptr) container = container->parent;
  return container != value;
}

}  // namespace tly::json

using namespace tly::json;

JSON_Value* json_value_init_object(void) { return make_container<JSON_Object>(JSONObject); }

JSON_Value* json_value_init_array(void) { return make_container<JSON_Array>(JSONArray); }

JSON_Value* json_value_init_string(const char* string) {
  if (string == nullptr) return nullptr;
  const std::size_t length = std::strlen(string);
  if (length > kMaxTextBytes || !is_valid_utf8(string, length)) return nullptr;
  Entry entry = {};
  entry.type = JSONString;
  entry.text = string;
  entry.size = static_cast<std::uint32_t>(length);
  return make_scalar(entry);
}

JSON_Value* json_value_init_number(double number) {
  if (!std::isfinite(number)) return nullptr;
  Entry entry = {};
  entry.type = JSONNumber;
  entry.number = number;
  return make_scalar(entry);
}

JSON_Value* json_value_init_boolean(int boolean) { return make_flag(JSONBoolean, boolean != 0); }

JSON_Value* json_value_init_null(void) { return make_flag(JSONNull, false); }

void json_value_free(JSON_Value* value) {
  if (value == nullptr) return;
  if (value->parent != nullptr) {
    remove_from_parent(value);
  } else {
    free_tree(value);
  }
}

JSON_Value_Type json_value_get_type(const JSON_Value* value) {
  return value == nullptr ? static_cast<JSON_Value_Type>(JSONError) : value->type;
}

JSON_Object* json_value_get_object(const JSON_Value* value) {
  return is_of_type(value, JSONObject) ? const_cast<JSON_Object*>(as_object(value)) : nullptr;
}

JSON_Array* json_value_get_array(const JSON_Value* value) {
  return is_of_type(value, JSONArray) ? const_cast<JSON_Array*>(as_array(value)) : nullptr;
}

const char* json_value_get_string(const JSON_Value* value) {
  return is_of_type(value, JSONString) ? text_of(value) : nullptr;
}

double json_value_get_number(const JSON_Value* value) {
  return is_of_type(value, JSONNumber) ? number_of(value) : 0;
}

int json_value_get_boolean(const JSON_Value* value) {
  return is_of_type(value, JSONBoolean) ? static_cast<int>(value->size) : -1;
}

JSON_Value* json_value_get_parent(const JSON_Value* value) {
  return value == nullptr ? nullptr : value->parent;
}

JSON_Value_Type json_type(const JSON_Value* value) { return json_value_get_type(value); }
JSON_Object* json_object(const JSON_Value* value) { return json_value_get_object(value); }
JSON_Array* json_array(const JSON_Value* value) { return json_value_get_array(value); }
const char* json_string(const JSON_Value* value) { return json_value_get_string(value); }
double json_number(const JSON_Value* value) { return json_value_get_number(value); }
int json_boolean(const JSON_Value* value) { return json_value_get_boolean(value); }
