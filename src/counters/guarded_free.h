// Release of members that a complete record always has set.
#pragma once

#include <cstdlib>

#include "common/log.h"

namespace tly {

// Frees the member and sets it to null; a member that is already null draws a warning, because a
// record without it was built wrongly.
template <typename T>
void guarded_free(T*& member, const char* source, const char* function, int line) noexcept {
  if (member == nullptr) {
    TLY_LOG_WARNING("on %s, %s %d attempted to free NULL ptr", source, function, line);
    return;
  }
  std::free(member);
  member = nullptr;
}

}  // namespace tly

// The warning names the releasing function, so this stands in that function itself. The file
// defines kSourceName.
#define TLY_GUARDED_FREE(member) tly::guarded_free((member), kSourceName, __func__, __LINE__)
