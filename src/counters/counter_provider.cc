#include "tallyra/counter_provider.h"

#include <cstdlib>

#include "common/log.h"
#include "common/printable.h"
#include "counters/guarded_free.h"

namespace {

constexpr const char* kSourceName = "counter_provider";

}  // namespace

void tly_free_component_info(tly_component_t* component) {
  if (component == nullptr) {
    return;
  }
  TLY_LOG_DEBUG("Free component %s", tly::printable(component->name));
  if (component->counters != nullptr) {
    for (int32_t index = 0; index < component->num_counters; ++index) {
      tly_destroy_counter_info(component->counters[index]);
      TLY_GUARDED_FREE(component->counters[index]);
    }
  }
  std::free(component->counters);
  std::free(component->name);
  std::free(component->description);
  std::free(component->status_string);
  std::free(component);
}
