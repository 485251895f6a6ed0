#include <cstring>

#include "block.h"
#include "growing_stack.h"
#include "value.h"

namespace tly::json {
namespace {

struct Frame {
  const JSON_Value* container;
  std::uint32_t next;
};

// Feeds a tree to a builder without recursion, so that only memory bounds its depth.
class Copier {
 public:
  JSON_Value* copy(const JSON_Value* root) noexcept {
    if (!copy_value(root)) return nullptr;
    while (!open_.is_empty()) {
      Frame& frame = open_.top();
      if (frame.next == frame.container->size) {
        open_.pop();
        if (!builder_.close()) return nullptr;
      } else if (!copy_child(frame)) {
        return nullptr;
      }
    }
    return builder_.finish();
  }

 private:
  bool copy_child(Frame& frame) noexcept {
    const std::uint32_t position = frame.next++;
    if (frame.container->type == JSONObject) {
      entry_.name = as_object(frame.container)->members[position].name;
      entry_.name_length = static_cast<std::uint32_t>(std::strlen(entry_.name));
    }
    return copy_value(child_at(frame.container, position));
  }

  bool copy_value(const JSON_Value* value) noexcept {
    entry_.type = value->type;
    entry_.size = value->size;
    if (is_container(value)) return builder_.open(entry_) && open_.push({value, 0});
    if (value->type == JSONNumber) entry_.number = number_of(value);
    if (value->type == JSONString) entry_.text = text_of(value);
    return builder_.add(entry_);
  }

  Entry entry_ = {};
  TreeBuilder builder_;
  GrowingStack<Frame, 64> open_;
};

}  // namespace
}  // namespace tly::json

using namespace tly::json;

JSON_Value* json_value_deep_copy(const JSON_Value* value) {
  return value == nullptr ? nullptr : Copier().copy(value);
}
