// A stack of plain records: the first ones in place, more of them on the heap.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace tly::json {

template <typename T, std::size_t kInPlace>
class GrowingStack {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

 public:
  GrowingStack() noexcept = default;
  GrowingStack(const GrowingStack&) = delete;
  GrowingStack& operator=(const GrowingStack&) = delete;
  ~GrowingStack() {
    if (items_ != in_place_) std::free(items_);
  }

  // False when memory runs out; the stack is then unchanged.
  bool push(const T& item) noexcept {
    if (size_ == capacity_ && !grow()) return false;
    items_[size_++] = item;
    return true;
  }
  void truncate(std::size_t size) noexcept { size_ = size; }
  void pop() noexcept { --size_; }

  T& top() noexcept { return items_[size_ - 1]; }
  T& operator[](std::size_t position) noexcept { return items_[position]; }
  std::size_t size() const noexcept { return size_; }
  bool is_empty() const noexcept { return size_ == 0; }

 private:
  bool grow() noexcept {
    const bool was_in_place = items_ == in_place_;
    void* grown = std::realloc(was_in_place ? nullptr : items_, 2 * capacity_ * sizeof(T));
    if (grown == nullptr) return false;
    if (was_in_place) std::memcpy(grown, in_place_, sizeof(in_place_));
    items_ = static_cast<T*>(grown);
    capacity_ *= 2;
    return true;
  }

  T in_place_[kInPlace] = {};
  T* items_ = in_place_;
  std::size_t size_ = 0;
  std::size_t capacity_ = kInPlace;
};

}  // namespace tly::json
