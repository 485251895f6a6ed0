// An owner for a text from the C heap.
#pragma once

#include <cstdlib>
#include <memory>

namespace tly::json {

struct FreeText {
  void operator()(char* text) const noexcept { std::free(text); }
};
using OwnedText = std::unique_ptr<char, FreeText>;

}  // namespace tly::json
