// The counters schema of a selection: a counter group per component, and where each value lies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "plugin.h"
#include "selection.h"
#include "tallyra/counters_schema.h"

namespace tly::agent {

// The provider must outlive it: the groups are handed back to it at the end.
class CollectionSchema {
 public:
  // Creates the groups, in the selection's order, and has the library lay out their values. Throws
  // Failure.
  CollectionSchema(const Plugin& plugin, tly_provider_t& provider, const Selection& selection);

  const tly_counters_schema_t& record() const { return *record_; }

  // Not started yet.
  tly_counter_group_t& group(std::size_t component) const { return *record_->groups[component]; }

  // Bytes that the values of all groups take.
  std::size_t area_size() const { return area_size_; }
  // Bytes from the area's start, in any alignment. The provider tells counters apart by them alone,
  // so no two have the same.
  std::size_t offset_of(const SelectedCounter& counter) const { return offsets_[counter.position]; }

 private:
  struct DestroySchema {
    const Plugin* plugin;
    void operator()(tly_counters_schema_t* schema) const;
  };

  void append_group(tly_provider_t& provider, const SelectedComponent& selected);
  void lay_out();

  const Plugin& plugin_;
  std::unique_ptr<tly_counters_schema_t, DestroySchema> record_;
  std::vector<std::uint32_t> offsets_;  // by position
  std::size_t area_size_ = 0;
};

}  // namespace tly::agent
