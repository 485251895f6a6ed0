// String arrays of one test.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tallyra/string_array.h"

namespace tly::test {

using Texts = std::vector<std::string>;

// An array whose block operations may replace.
struct Array {
  Array() = default;
  explicit Array(std::string_view text)
      : block(tly_string_array_from_comma_separated_string(text.data(), text.size())) {}
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;
  ~Array() { tly_free_string_array(block); }
  Texts texts() const {
    return block ? Texts(block->strings, block->strings + block->count) : Texts();
  }

  tly_string_array_t* block = nullptr;
};

}  // namespace tly::test
