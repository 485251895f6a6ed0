// Arrays of pointers on the C heap that grow by one record at a time.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <limits>

namespace tly {

// Makes room for one more pointer after the first `count`. False when memory runs out or when the
// type of the count ends; the array is then as it was.
template <typename Record, typename Count>
bool grow_by_one(Record**& records, Count count) noexcept {
  if (count == std::numeric_limits<Count>::max()) {
    return false;
  }
  const std::size_t size = (static_cast<std::size_t>(count) + 1) * sizeof(Record*);
  auto** const grown = static_cast<Record**>(std::realloc(records, size));
  if (grown == nullptr) {
    return false;
  }
  records = grown;
  return true;
}

}  // namespace tly
