// The counters that the user wants, and where their values lie.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "plugin.h"

namespace tly::agent {

struct SelectedCounter {
  const tly_counter_info_t* info;  // the provider's own record
  // The name, with a number behind it when an earlier selected counter has the same one.
  std::string label;
  // Bytes from the start of the one values area of all components; a multiple of 8. The provider
  // tells counters apart by their offsets alone, so no two have the same.
  std::uint32_t offset;
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
  std::size_t value_slots = 0;  // the size of the values area in tly_counter_value_t
};

// The provider's counters whose names match one of the patterns (wildcards, any case), or all of
// them without patterns. Throws Failure when a pattern matches nothing, and when nothing is left.
Selection select_counters(const Plugin& plugin, const tly_provider_t& provider,
                          const std::vector<std::string>& patterns);

}  // namespace tly::agent
