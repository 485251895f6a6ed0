// Builds values out of entries: a scalar by itself, an object or array as one block of memory that
// also holds its scalar children and names.
#pragma once

#include <cstddef>
#include <cstdint>

#include "growing_stack.h"
#include "value.h"

namespace tly::json {

// What a value will hold, and its name when it is an object's member. Texts are only referred to.
struct Entry {
  const char* name;
  union {
    double number;
    const char* text;
    JSON_Value* container;    // once it is closed
    std::size_t outer_entry;  // while it is open: the entry of the container around it
  };
  std::uint32_t name_length;  // without escapes
  std::uint32_t size;         // of a string, without escapes; 0 or 1 for a boolean
  std::int8_t type;           // a JSON_Value_Type
  bool name_has_escapes;
  bool text_has_escapes;
  bool is_open;
};

// A new value of its own out of a scalar's entry, or null.
JSON_Value* make_scalar(const Entry& entry) noexcept;

// Takes the values of a tree in the order of their text and builds each container when it is
// closed.
class TreeBuilder {
 public:
  TreeBuilder() noexcept = default;
  TreeBuilder(const TreeBuilder&) = delete;
  TreeBuilder& operator=(const TreeBuilder&) = delete;
  ~TreeBuilder();

  // False when memory runs out.
  bool add(const Entry& scalar) noexcept { return entries_.push(scalar); }
  bool open(const Entry& container) noexcept;

  // Closes the innermost container. False when a name occurs twice in it or memory runs out.
  bool close() noexcept;

  bool has_open_container() const noexcept { return innermost_ != kNone; }
  bool is_in_object() noexcept { return entries_[innermost_].type == JSONObject; }

  // Hands out the tree, when one value was added and all is closed, or null without memory.
  JSON_Value* finish() noexcept;

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  GrowingStack<Entry, 64> entries_;
  std::size_t innermost_ = kNone;
};

}  // namespace tly::json
