// The library's records as providers use them: owned, and never missing.
#pragma once

#include <new>
#include <string>

#include "common/owned.h"
#include "tallyra/parson.h"
#include "tallyra/type_system.h"

namespace tly::executor {

using OwnedTypeSystem = Owned<tly_type_system_t, &tly_destroy_type_system>;

// What the records' functions return; an exception in place of the null of memory that ran out.
template <typename Pointer>
Pointer required(Pointer pointer) {
  if (!pointer) {
    throw std::bad_alloc();
  }
  return pointer;
}

inline std::string serialized(const tly_type_system_t* type_system) {
  const Owned<char, &json_free_serialized_string> text(
      required(tly_type_system_serialize(type_system, false)));
  return text.get();
}

}  // namespace tly::executor
