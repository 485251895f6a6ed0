#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "name_index.h"
#include "value.h"

namespace tly::json {
namespace {

constexpr std::size_t kFirstCapacity = 4;

bool is_in_block(const JSON_Object* object, const void* address) noexcept {
  const char* block = reinterpret_cast<const char*>(object);
  const auto* byte = static_cast<const char*>(address);
  return std::less_equal<>()(block, byte) && std::less<>()(byte, block + object->block_bytes);
}

void free_unless_in_block(const JSON_Object* object, void* storage) noexcept {
  if (!is_in_block(object, storage)) std::free(storage);
}

// Makes room for one more member; what is in the block is left there and copied.
bool grow_members(JSON_Object* object) noexcept {
  if (object->size < object->capacity) return true;
  if (object->size >= kMaxChildren) return false;
  const std::size_t capacity = std::max(kFirstCapacity, std::size_t{object->capacity} * 2);
  const bool was_in_block = is_in_block(object, object->members);
  void* grown = std::realloc(was_in_block ? nullptr : object->members, capacity * sizeof(Member));
  if (grown == nullptr) return false;
  if (was_in_block) std::memcpy(grown, object->members, object->size * sizeof(Member));
  object->members = static_cast<Member*>(grown);
  object->capacity = static_cast<std::uint32_t>(capacity);
  return true;
}

// Makes the index, when one more member calls for a larger one.
bool grow_index(JSON_Object* object) noexcept {
  if (slots_for(std::size_t{object->size} + 1) <= object->slot_count) return true;
  const std::size_t slot_count = slots_for((std::size_t{object->size} + 1) * 2);
  auto* slots = static_cast<std::uint32_t*>(std::calloc(slot_count, sizeof(std::uint32_t)));
  if (slots == nullptr) return false;
  free_unless_in_block(object, object->slots);
  object->slots = slots;
  object->slot_count = static_cast<std::uint32_t>(slot_count);
  index_members(object, object->size);
  return true;
}

JSON_Status add_member(JSON_Object* object, const char* name, JSON_Value* value) noexcept {
  const std::size_t length = std::strlen(name);
  if (length > kMaxTextBytes || !grow_members(object) || !grow_index(object)) return JSONFailure;
  auto* copy = static_cast<char*>(std::malloc(length + 1));
  if (copy == nullptr) return JSONFailure;
  std::memcpy(copy, name, length + 1);
  object->members[object->size] = {copy, value};
  index_member(object, object->size++);
  return JSONSuccess;
}

// Sets a value that was made for this member and is nobody else's.
JSON_Status set_new_value(JSON_Object* object, const char* name, JSON_Value* value) noexcept {
  const JSON_Status status = json_object_set_value(object, name, value);
  if (status != JSONSuccess) json_value_free(value);
  return status;
}

}  // namespace

void remove_member_at(JSON_Object* object, std::size_t position) noexcept {
  const Member removed = object->members[position];
  unindex_member(object, position);
  const std::size_t later = object->size - position - 1;
  std::memmove(object->members + position, object->members + position + 1, later * sizeof(Member));
  --object->size;
  free_unless_in_block(object, removed.name);
  free_tree(removed.value);
}

void free_last_name(JSON_Object* object) noexcept {
  free_unless_in_block(object, object->members[object->size - 1].name);
}

void free_object_storage(JSON_Object* object) noexcept {
  free_unless_in_block(object, object->members);
  free_unless_in_block(object, object->slots);
}

}  // namespace tly::json

using namespace tly::json;

JSON_Value* json_object_get_value(const JSON_Object* object, const char* name) {
  if (object == nullptr || name == nullptr) return nullptr;
  const std::size_t position = find_member(object, name);
  return position == kNotFound ? nullptr : object->members[position].value;
}

const char* json_object_get_string(const JSON_Object* object, const char* name) {
  return json_value_get_string(json_object_get_value(object, name));
}

JSON_Object* json_object_get_object(const JSON_Object* object, const char* name) {
  return json_value_get_object(json_object_get_value(object, name));
}

JSON_Array* json_object_get_array(const JSON_Object* object, const char* name) {
  return json_value_get_array(json_object_get_value(object, name));
}

double json_object_get_number(const JSON_Object* object, const char* name) {
  return json_value_get_number(json_object_get_value(object, name));
}

int json_object_get_boolean(const JSON_Object* object, const char* name) {
  return json_value_get_boolean(json_object_get_value(object, name));
}

std::size_t json_object_get_count(const JSON_Object* object) {
  return object == nullptr ? 0 : object->size;
}

const char* json_object_get_name(const JSON_Object* object, std::size_t index) {
  return index < json_object_get_count(object) ? object->members[index].name : nullptr;
}

JSON_Value* json_object_get_value_at(const JSON_Object* object, std::size_t index) {
  return index < json_object_get_count(object) ? object->members[index].value : nullptr;
}

JSON_Value* json_object_get_wrapping_value(const JSON_Object* object) {
  return const_cast<JSON_Object*>(object);
}

int json_object_has_value(const JSON_Object* object, const char* name) {
  return json_object_get_value(object, name) != nullptr ? 1 : 0;
}

int json_object_has_value_of_type(const JSON_Object* object, const char* name,
                                  JSON_Value_Type type) {
  return is_of_type(json_object_get_value(object, name), type) ? 1 : 0;
}

JSON_Status json_object_set_value(JSON_Object* object, const char* name, JSON_Value* value) {
  if (object == nullptr || name == nullptr || !may_adopt(object, value)) return JSONFailure;
  const std::size_t position = find_member(object, name);
  if (position == kNotFound) {
    if (add_member(object, name, value) != JSONSuccess) return JSONFailure;
  } else {
    free_tree(object->members[position].value);
    object->members[position].value = value;
  }
  value->parent = object;
  return JSONSuccess;
}

JSON_Status json_object_set_string(JSON_Object* object, const char* name, const char* string) {
  return set_new_value(object, name, json_value_init_string(string));
}

JSON_Status json_object_set_number(JSON_Object* object, const char* name, double number) {
  return set_new_value(object, name, json_value_init_number(number));
}

JSON_Status json_object_set_boolean(JSON_Object* object, const char* name, int boolean) {
  return set_new_value(object, name, json_value_init_boolean(boolean));
}

JSON_Status json_object_set_null(JSON_Object* object, const char* name) {
  return set_new_value(object, name, json_value_init_null());
}

JSON_Status json_object_remove(JSON_Object* object, const char* name) {
  if (object == nullptr || name == nullptr) return JSONFailure;
  const std::size_t position = find_member(object, name);
  if (position == kNotFound) return JSONFailure;
  remove_member_at(object, position);
  return JSONSuccess;
}

JSON_Status json_object_clear(JSON_Object* object) {
  if (object == nullptr) return JSONFailure;
  while (object->size != 0) {
    free_tree(object->members[object->size - 1].value);
    free_last_name(object);
    --object->size;
  }
  std::fill_n(object->slots, object->slot_count, 0U);
  return JSONSuccess;
}
