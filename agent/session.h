// The running collection: the counter groups of a selection, read into one values area.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "collection_schema.h"
#include "plugin.h"
#include "selection.h"

namespace tly::agent {

// A values area. Values lie at byte offsets in it, in any alignment.
using Values = std::vector<tly_counter_value_t>;

// Belongs to the thread that made it. The selection and the provider must outlive it.
class Session {
 public:
  // Creates and starts the groups. Throws Failure.
  Session(const Plugin& plugin, tly_provider_t& provider, const Selection& selection);

  const Selection& selection() const { return selection_; }

  // Reads all groups. False, with the values undefined, while the provider has no sample to give.
  // All values are of one sample. Throws Failure when the provider refuses.
  bool read();

  const Values& values() const { return values_; }
  const void* value_of(const SelectedCounter& counter) const { return value_in(values_, counter); }
  // Of values that were read earlier.
  const void* value_in(const Values& values, const SelectedCounter& counter) const {
    return reinterpret_cast<const char*>(values.data()) + schema_.offset_of(counter);
  }

 private:
  struct StopGroup {
    const Plugin* plugin;
    void operator()(tly_counter_group_t* group) const;
  };
  using StartedGroup = std::unique_ptr<tly_counter_group_t, StopGroup>;

  bool read_once(Values& values) const;
  bool is_untouched(const Values& values, const SelectedComponent& selected) const;

  const Selection& selection_;
  CollectionSchema schema_;
  std::vector<StartedGroup> groups_;  // one per selected component, in that order
  Values values_;
  Values repeated_values_;
};

}  // namespace tly::agent
