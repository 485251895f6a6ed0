// The counters that the user wants.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "plugin.h"

namespace tly::agent {

struct SelectedCounter {
  const tly_counter_info_t* info;  // the provider's own record
  // The name, with a number behind it when an earlier selected counter has the same one.
  std::string label;
  std::size_t position;  // from 0, among all selected counters
};

struct SelectedComponent {
  const tly_component_t* component;
  std::string label;  // made unique as a counter's
  std::vector<SelectedCounter> counters;
};

struct Selection {
  const tly_provider_t* provider;
  std::vector<SelectedComponent> components;  // only such with counters
  std::size_t counter_count = 0;
};

// The provider's counters whose names match one of the patterns (wildcards, any case), or all of
// them without patterns. Throws Failure when a pattern matches nothing, and when nothing is left.
Selection select_counters(const Plugin& plugin, const tly_provider_t& provider,
                          const std::vector<std::string>& patterns);

}  // namespace tly::agent
