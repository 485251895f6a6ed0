// The running collection: a counter group per selected component, read into one values area.
#pragma once

#include <memory>
#include <vector>

#include "plugin.h"
#include "selection.h"

namespace tly::agent {

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
  const tly_counter_value_t* value_of(const SelectedCounter& counter) const {
    return &values_[counter.offset / sizeof(tly_counter_value_t)];
  }

 private:
  // Stops the group, if it was started, and hands it back to the provider.
  struct CloseGroup {
    const Plugin* plugin;
    void operator()(tly_counter_group_t* group) const;
  };
  using Group = std::unique_ptr<tly_counter_group_t, CloseGroup>;

  Group open_group(const SelectedComponent& selected, tly_provider_t& provider) const;
  bool read_once(Values& values) const;

  const Plugin& plugin_;
  const Selection& selection_;
  std::vector<Group> groups_;  // one per selected component, in that order
  Values values_;
  Values repeated_values_;
};

}  // namespace tly::agent
