// Walks over two trees side by side, for equality and for validation. Neither recurses, so that
// only memory bounds the depth.
#include <cstring>
#include <type_traits>

#include "growing_stack.h"
#include "name_index.h"
#include "value.h"

namespace tly::json {
namespace {

// Two containers whose children are compared; the left one leads.
struct Pair {
  const JSON_Value* left;
  const JSON_Value* right;
  std::uint32_t next;
  std::uint32_t end;
};
using Pairs = GrowingStack<Pair, 32>;

// The member of that name, which mostly has the same position in both objects.
const JSON_Value* find_value(const JSON_Object* object, const char* name,
                             std::size_t likely_position) noexcept {
  if (likely_position < object->size &&
      std::strcmp(object->members[likely_position].name, name) == 0) {
    return object->members[likely_position].value;
  }
  const std::size_t position = find_member(object, name);
  return position == kNotFound ? nullptr : object->members[position].value;
}

bool scalars_are_equal(const JSON_Value* left, const JSON_Value* right) noexcept {
  if (left->type == JSONNumber) return number_of(left) == number_of(right);
  if (left->size != right->size) return false;
  return left->type != JSONString || std::memcmp(text_of(left), text_of(right), left->size) == 0;
}

struct Equality {
  static bool compare(const JSON_Value* left, const JSON_Value* right, Pairs& open) noexcept {
    if (left->type != right->type) return false;
    if (!is_container(left)) return scalars_are_equal(left, right);
    return left->size == right->size && open.push({left, right, 0, left->size});
  }
};

// The left one is the schema.
struct Validation {
  static bool compare(const JSON_Value* left, const JSON_Value* right, Pairs& open) noexcept {
    if (left->type == JSONNull) return true;
    if (left->type != right->type) return false;
    if (!is_container(left) || left->size == 0) return true;
    const bool is_array = left->type == JSONArray;
    if (!is_array && left->size > right->size) return false;
    return open.push({left, right, 0, is_array ? right->size : left->size});
  }
};

// Compares the next children of a pair.
template <typename Relation>
bool compare_next(Pair& pair, Pairs& open) noexcept {
  const std::uint32_t position = pair.next++;
  if (pair.left->type == JSONArray) {
    constexpr bool kFirstIsForAll = std::is_same_v<Relation, Validation>;
    return Relation::compare(child_at(pair.left, kFirstIsForAll ? 0 : position),
                             child_at(pair.right, position), open);
  }
  const Member& member = as_object(pair.left)->members[position];
  const JSON_Value* right = find_value(as_object(pair.right), member.name, position);
  return right != nullptr && Relation::compare(member.value, right, open);
}

template <typename Relation>
bool compare_trees(const JSON_Value* left, const JSON_Value* right) noexcept {
  Pairs open;
  if (!Relation::compare(left, right, open)) return false;
  while (!open.is_empty()) {
    Pair& pair = open.top();
    if (pair.next == pair.end) {
      open.pop();
    } else if (!compare_next<Relation>(pair, open)) {
      return false;
    }
  }
  return true;
}

}  // namespace
}  // namespace tly::json

using namespace tly::json;

int json_value_equals(const JSON_Value* a, const JSON_Value* b) {
  if (a == nullptr || b == nullptr) return a == b ? 1 : 0;
  return compare_trees<Equality>(a, b) ? 1 : 0;
}

JSON_Status json_validate(const JSON_Value* schema, const JSON_Value* value) {
  if (schema == nullptr || value == nullptr) return JSONFailure;
  return compare_trees<Validation>(schema, value) ? JSONSuccess : JSONFailure;
}
