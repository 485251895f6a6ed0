// The counters that the user wants.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/providers.h"

namespace tly::agent {

struct SelectedCounter {
  const tly_counter_info_t* info;  // the provider's own record
  // A local counter's is its own. A remote one's begins with provider and component:
  // grpc.host:cpu:user_ms
  std::string name;
  std::string label;     // the name, followed by a number when an earlier one is the same
  std::size_t index;     // in its component
  std::size_t position;  // from 0, among all selected counters
  std::size_t source;    // in the selection
};

struct SelectedComponent {
  const tly_component_t* component;
  std::string name;  // formed as a counter's
  std::string label;
  std::size_t source;
  std::vector<SelectedCounter> counters;
};

// Components and counters are in the providers' order.
struct Selection {
  std::vector<CounterSource> sources;         // only such with selected counters
  std::vector<SelectedComponent> components;  // only such with selected counters
  std::size_t counter_count = 0;

  std::string source_names() const;  // separated by commas
};

// The counters whose names match one of the patterns (wildcards, any case), or all of them without
// patterns; without those of remote components that are disabled. Throws Failure when a pattern
// matches nothing, and when nothing is left.
Selection select_counters(const Plugin& plugin, const std::vector<CounterSource>& sources,
                          const tly_string_array_t* disable,
                          const std::vector<std::string>& patterns);

}  // namespace tly::agent
