#include "block.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "name_index.h"
#include "quoted_text.h"

namespace tly::json {
namespace {

constexpr std::size_t kAlignment = alignof(Number);
static_assert(sizeof(json_object_t) % kAlignment == 0 && sizeof(json_array_t) % kAlignment == 0 &&
              sizeof(Member) % kAlignment == 0);

std::size_t scalar_bytes(const Entry& entry) noexcept {
  if (entry.type == JSONNumber) return sizeof(Number);
  if (entry.type != JSONString) return sizeof(json_value_t);
  const std::size_t bytes = sizeof(json_value_t) + entry.size + 1;
  return (bytes + kAlignment - 1) & ~(kAlignment - 1);
}

// Copies a text of `length` bytes without its escapes, and a NUL.
void copy_text(char* target, const char* text, std::size_t length, bool has_escapes) noexcept {
  if (has_escapes) {
    decode_quoted_text(text, length, target);
  } else {
    std::memcpy(target, text, length);
  }
  target[length] = '\0';
}

JSON_Value* place_scalar(void* storage, const Entry& entry, JSON_Value* parent) noexcept {
  auto* value = static_cast<JSON_Value*>(storage);
  *value = {parent, entry.size, entry.type, parent != nullptr};
  if (entry.type == JSONNumber) {
    static_cast<Number*>(value)->number = entry.number;
  } else if (entry.type == JSONString) {
    copy_text(text_of(value), entry.text, entry.size, entry.text_has_escapes);
  }
  return value;
}

// Places the children of a container one by one in the storage that its block has for scalars.
class ChildPlacer {
 public:
  ChildPlacer(JSON_Value* parent, void* storage) noexcept
      : parent_(parent), storage_(static_cast<char*>(storage)) {}

  JSON_Value* place(const Entry& entry) noexcept {
    if (entry.type == JSONObject || entry.type == JSONArray) {
      entry.container->parent = parent_;
      return entry.container;
    }
    JSON_Value* value = place_scalar(storage_, entry, parent_);
    storage_ += scalar_bytes(entry);
    return value;
  }

 private:
  JSON_Value* parent_;
  char* storage_;
};

struct ChildrenBytes {
  std::size_t scalars;
  std::size_t names;
};

ChildrenBytes bytes_of_children(const Entry* entries, std::size_t count) noexcept {
  ChildrenBytes bytes = {0, 0};
  for (std::size_t i = 0; i < count; ++i) {
    const Entry& entry = entries[i];
    bytes.names += std::size_t{entry.name_length} + 1;
    if (entry.type != JSONObject && entry.type != JSONArray) bytes.scalars += scalar_bytes(entry);
  }
  return bytes;
}

JSON_Value* build_object(const Entry* entries, std::size_t count) noexcept {
  if (count == 0) return json_value_init_object();
  const ChildrenBytes bytes = bytes_of_children(entries, count);
  const std::size_t slot_count = slots_for(count);
  const std::size_t block_bytes = sizeof(json_object_t) + count * sizeof(Member) +
                                  slot_count * sizeof(std::uint32_t) + bytes.scalars + bytes.names;
  auto* object = static_cast<JSON_Object*>(std::malloc(block_bytes));
  if (object == nullptr) return nullptr;
  static_cast<json_value_t&>(*object) = {nullptr, static_cast<std::uint32_t>(count), JSONObject,
                                         false};
  object->members = reinterpret_cast<Member*>(object + 1);
  object->slots = reinterpret_cast<std::uint32_t*>(object->members + count);
  object->block_bytes = block_bytes;
  object->capacity = static_cast<std::uint32_t>(count);
  object->slot_count = static_cast<std::uint32_t>(slot_count);
  std::fill_n(object->slots, slot_count, 0U);

  char* scalars = reinterpret_cast<char*>(object->slots + slot_count);
  char* name = scalars + bytes.scalars;
  ChildPlacer children(object, scalars);
  for (std::size_t i = 0; i < count; ++i) {
    copy_text(name, entries[i].name, entries[i].name_length, entries[i].name_has_escapes);
    object->members[i] = {name, children.place(entries[i])};
    name += entries[i].name_length + 1;
  }
  if (index_members(object, count)) return object;
  std::free(object);
  return nullptr;
}

JSON_Value* build_array(const Entry* entries, std::size_t count) noexcept {
  if (count == 0) return json_value_init_array();
  const std::size_t pointers = count * sizeof(JSON_Value*);
  const std::size_t scalars = bytes_of_children(entries, count).scalars;
  auto* array = static_cast<JSON_Array*>(std::malloc(sizeof(json_array_t) + pointers + scalars));
  if (array == nullptr) return nullptr;
  static_cast<json_value_t&>(*array) = {nullptr, static_cast<std::uint32_t>(count), JSONArray,
                                        false};
  array->elements = reinterpret_cast<JSON_Value**>(array + 1);
  array->capacity = static_cast<std::uint32_t>(count);
  array->elements_are_in_block = true;
  ChildPlacer children(array, array->elements + count);
  for (std::size_t i = 0; i < count; ++i) array->elements[i] = children.place(entries[i]);
  return array;
}

}  // namespace

JSON_Value* make_scalar(const Entry& entry) noexcept {
  void* storage = std::malloc(scalar_bytes(entry));
  return storage == nullptr ? nullptr : place_scalar(storage, entry, nullptr);
}

TreeBuilder::~TreeBuilder() {
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    const Entry& entry = entries_[i];
    const bool is_built = (entry.type == JSONObject || entry.type == JSONArray) && !entry.is_open;
    if (is_built) free_tree(entry.container);
  }
}

bool TreeBuilder::open(const Entry& container) noexcept {
  Entry entry = container;
  entry.outer_entry = innermost_;
  entry.is_open = true;
  if (!entries_.push(entry)) return false;
  innermost_ = entries_.size() - 1;
  return true;
}

bool TreeBuilder::close() noexcept {
  const std::size_t first_child = innermost_ + 1;
  const std::size_t count = entries_.size() - first_child;
  if (count > kMaxChildren) return false;
  Entry& entry = entries_[innermost_];
  const Entry* children = &entry + 1;
  JSON_Value* built =
      entry.type == JSONObject ? build_object(children, count) : build_array(children, count);
  if (built == nullptr) return false;
  innermost_ = entry.outer_entry;
  entry.is_open = false;
  entry.container = built;
  entries_.truncate(first_child);
  return true;
}

JSON_Value* TreeBuilder::finish() noexcept {
  const Entry& root = entries_[0];
  if (root.type != JSONObject && root.type != JSONArray) return make_scalar(root);
  entries_.truncate(0);
  return root.container;
}

}  // namespace tly::json
