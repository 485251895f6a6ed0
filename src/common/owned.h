// Owners for the C records and strings that cross the library's boundary.
#pragma once

#include <cstdlib>
#include <cstring>
#include <memory>

namespace tly {

// A deleter that calls one release function.
template <auto kRelease>
struct ReleaseWith {
  template <typename T>
  void operator()(T* pointer) const noexcept {
    kRelease(pointer);
  }
};

template <typename T, auto kRelease>
using Owned = std::unique_ptr<T, ReleaseWith<kRelease>>;

// A zero-filled record or a string from the C heap.
template <typename T>
using OwnedHeap = Owned<T, &std::free>;

using OwnedString = OwnedHeap<char>;

template <typename T>
OwnedHeap<T> allocate_zeroed() noexcept {
  return OwnedHeap<T>(static_cast<T*>(std::calloc(1, sizeof(T))));
}

// A copy of the text, which may be null, into `copy`; false when memory runs out.
inline bool duplicate_text(const char* text, char** copy) noexcept {
  return text == nullptr || (*copy = strdup(text)) != nullptr;
}

}  // namespace tly
