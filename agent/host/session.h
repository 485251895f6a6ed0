// The running collection: the counter groups of a selection, read into one values area.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/collection_schema.h"
#include "host/plugin.h"
#include "host/selection.h"

namespace tly::agent {

// For one thread at a time, but see fetch(). The selection and the providers must outlive it.
class Session {
 public:
  // Creates and starts the groups. Throws Failure. When a remote provider takes longer than the
  // timeout to answer a read, the process ends.
  Session(const Plugin& plugin, const Selection& selection, std::chrono::nanoseconds timeout);

  const Selection& selection() const { return selection_; }
  bool has_local() const { return !selection_.sources.front().is_remote; }

  // Take newer values, all values of a provider from one sample; what gives none keeps its earlier
  // ones. True when the local provider, or every remote one, has values. Throw Failure when the
  // local provider refuses.
  bool read_local();
  bool read_remote();

  // The two halves of a read, without a limit: fetch() gets newer values of one source, all of one
  // sample, and is false when it has none; take() has value_of() show what was fetched and is true
  // when that differs from what was shown. The local provider and the remote ones may be fetched on
  // two threads at the same time, while a third one looks at the shown values.
  bool fetch(std::size_t source);
  bool take(std::size_t source);

  // The names of the providers that have had no values so far.
  std::vector<std::string> sources_without_values() const;

  // Null while there is none.
  const void* value_of(const SelectedCounter& counter) const {
    return has_values_[counter.source] ? area_.data() + schema_.offset_of(counter) : nullptr;
  }

  // The values that change by a clock of their own: the local provider's, or else all.
  std::span<const unsigned char> paced_values() const;

 private:
  struct StopGroup {
    const Plugin* plugin;
    void operator()(tly_counter_group_t* group) const;
  };
  using StartedGroup = std::unique_ptr<tly_counter_group_t, StopGroup>;

  // Values lie at byte offsets, in any alignment.
  using Area = std::vector<unsigned char>;

  bool has_whole_sample(std::size_t source);
  bool read_groups(std::size_t source, Area& area) const;
  static bool is_untouched(const tly_counter_group_t& group, const Area& area);

  const Selection& selection_;
  CollectionSchema schema_;
  std::chrono::nanoseconds timeout_;
  std::vector<StartedGroup> groups_;  // as in the schema
  std::vector<bool> has_values_;      // by source
  Area area_;                         // the shown values
  Area new_area_;
  Area previous_area_;  // of the pass before
};

}  // namespace tly::agent
