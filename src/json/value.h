// The records behind a JSON value, shared by the files of this folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "tallyra/parson.h"

// The head of every value; null values and booleans are nothing more.
struct json_value_t {
  json_value_t* parent;
  std::uint32_t size;    // bytes of a string, members, elements; 0 or 1 for a boolean
  std::int8_t type;      // a JSON_Value_Type
  bool lives_in_parent;  // part of the parent's block, and released with it
};

namespace tly::json {

// No text holds more bytes, no object or array more children: sizes, positions and the slots of an
// index have 32 bits.
inline constexpr std::size_t kMaxTextBytes = std::numeric_limits<std::uint32_t>::max() - 1;
inline constexpr std::size_t kMaxChildren = std::size_t{1} << 30;

struct Number : json_value_t {
  double number;
};

struct Member {
  char* name;  // in the object's block, or from the heap
  JSON_Value* value;
};

// The bytes of a string follow its head, and a NUL follows them.
inline char* text_of(JSON_Value* string) noexcept { return reinterpret_cast<char*>(string + 1); }
inline const char* text_of(const JSON_Value* string) noexcept {
  return reinterpret_cast<const char*>(string + 1);
}

}  // namespace tly::json

// Members in order; beyond a few of them also a hash index over their names (name_index.h).
//
// A parsed or copied object is one block: this record, its members, the index, the values of its
// scalar members and its names. What is added later comes from the heap piece by piece, and what is
// removed from the block stays unused until the object is released.
struct json_object_t : json_value_t {
  tly::json::Member* members;
  std::uint32_t* slots;
  std::size_t block_bytes;
  std::uint32_t capacity;
  std::uint32_t slot_count;  // a power of two, or 0 without an index
};

// Elements in order; a block like that of an object holds the record, the pointers and the scalars.
struct json_array_t : json_value_t {
  JSON_Value** elements;
  std::uint32_t capacity;
  bool elements_are_in_block;
};

namespace tly::json {

inline bool is_container(const JSON_Value* value) noexcept {
  return value->type == JSONObject || value->type == JSONArray;
}
inline bool is_of_type(const JSON_Value* value, JSON_Value_Type type) noexcept {
  return value != nullptr && value->type == type;
}
inline const JSON_Object* as_object(const JSON_Value* value) noexcept {
  return static_cast<const JSON_Object*>(value);
}
inline const JSON_Array* as_array(const JSON_Value* value) noexcept {
  return static_cast<const JSON_Array*>(value);
}
inline double number_of(const JSON_Value* value) noexcept {
  return static_cast<const Number*>(value)->number;
}

// The value at a position of an object or array, which must hold as many.
inline JSON_Value* child_at(const JSON_Value* container, std::size_t position) noexcept {
  return container->type == JSONObject ? as_object(container)->members[position].value
                                       : as_array(container)->elements[position];
}

// Releases a value and all below it, whatever its parent still says.
void free_tree(JSON_Value* value) noexcept;

// Whether the container may take the value: it has no parent, and the container is not inside it.
bool may_adopt(const JSON_Value* container, const JSON_Value* value) noexcept;

// Take a child out of its container and release it.
void remove_member_at(JSON_Object* object, std::size_t position) noexcept;
void remove_element_at(JSON_Array* array, std::size_t position) noexcept;

// Releases the name of the last member.
void free_last_name(JSON_Object* object) noexcept;

// Release what the container holds besides its children, their names and its own block.
void free_object_storage(JSON_Object* object) noexcept;
void free_array_storage(JSON_Array* array) noexcept;

}  // namespace tly::json
