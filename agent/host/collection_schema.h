// The counters schema of a selection: a counter group per component, and where each value lies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/owned.h"
#include "host/selection.h"
#include "tallyra/counters_schema.h"

namespace tly::agent {

// The groups of one source, and the bytes of the values area that are theirs.
struct SourceGroups {
  std::size_t first_group;
  std::size_t end_group;
  std::size_t first_byte;
  std::size_t end_byte;
};

// The providers must outlive it: the groups are handed back to them at the end.
class CollectionSchema {
 public:
  // Creates the groups, source by source, and has the library lay out their values. The local
  // provider's groups are those of the selected components, of selected counters only; of a remote
  // provider everything is collected. Throws Failure.
  CollectionSchema(const Plugin& plugin, const Selection& selection);

  const tly_counters_schema_t& record() const { return *record_; }

  // Not started yet.
  tly_counter_group_t& group(std::size_t index) const { return *record_->groups[index]; }
  // By source of the selection.
  const std::vector<SourceGroups>& sources() const { return sources_; }

  // Bytes that the values of all groups take.
  std::size_t area_size() const { return area_size_; }
  // Bytes from the area's start, in any alignment. The local provider distinguishes counters by
  // them alone, so no two have the same.
  std::size_t offset_of(const SelectedCounter& counter) const { return offsets_[counter.position]; }

 private:
  // A counter of a group, and its place among the selected ones.
  struct Member {
    const tly_counter_info_t* info;
    std::size_t position;
  };

  void append_local(tly_provider_t& provider, const Selection& selection, std::size_t source);
  void append_remote(tly_provider_t& provider, const Selection& selection);
  void append_group(tly_provider_t& provider, const tly_component_t& component,
                    const std::vector<Member>& members);
  void lay_out();

  const Plugin& plugin_;
  CountersSchema record_;
  std::vector<SourceGroups> sources_;
  std::vector<std::size_t> positions_;  // of all counters of all groups, in order
  std::vector<std::uint32_t> offsets_;  // by position
  std::size_t area_size_ = 0;
};

}  // namespace tly::agent
