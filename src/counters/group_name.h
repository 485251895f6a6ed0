// How a counter group is called in its JSON forms.
#pragma once

#include "tallyra/counter_group.h"

namespace tly {

// The group's own name, else its provider's; null when neither is there.
inline const char* group_name(const tly_counter_group_t* group) noexcept {
  if (group->name != nullptr || group->provider == nullptr) {
    return group->name;
  }
  return group->provider->name;
}

}  // namespace tly
