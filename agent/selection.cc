#include "selection.h"

#include <cstdint>
#include <unordered_map>
#include <unordered_set>

#include "failure.h"

namespace tly::agent {
namespace {

using NameSet = std::unordered_set<std::string>;

// Hands out each label once: a name that comes back becomes name#2, name#3 and so on.
class Labels {
 public:
  std::string unique(const char* name) {
    const std::string base = name != nullptr ? name : "";
    std::uint64_t& copies = copies_[base];
    std::string label = base;
    while (!used_.insert(label).second) {
      ++copies;
      label = base + "#" + std::to_string(copies + 1);
    }
    return label;
  }

 private:
  std::unordered_map<std::string, std::uint64_t> copies_;
  NameSet used_;
};

StringArray all_counter_names(const Plugin& plugin, const tly_provider_t& provider) {
  tly_string_array_t* names = plugin.tly_init_string_array();
  bool is_complete = names != nullptr;
  for (std::uint16_t i = 0; i < provider.num_components; ++i) {
    const tly_component_t& component = *provider.components[i];
    for (std::int32_t j = 0; is_complete && j < component.num_counters; ++j) {
      is_complete = plugin.tly_append_string_array(&names, component.counters[j]->name);
    }
  }
  StringArray result(names, FreeStringArray{&plugin});
  if (!is_complete) {
    throw std::bad_alloc();
  }
  return result;
}

// Asks for one pattern at a time, to be able to name the one that matches nothing.
NameSet matching_names(const Plugin& plugin, const tly_string_array_t& names,
                       const std::vector<std::string>& patterns) {
  NameSet result;
  for (const std::string& pattern : patterns) {
    tly_string_array_t* list = nullptr;
    const bool is_listed = plugin.tly_append_string_array(&list, pattern.c_str());
    const StringArray enable(list, FreeStringArray{&plugin});
    const StringArray matches(
        is_listed ? plugin.tly_match_counter_names(&names, enable.get(), nullptr, nullptr,
                                                   TLY_NAME_MATCHING_WILDCARD)
                  : nullptr,
        FreeStringArray{&plugin});
    if (!matches) {
      throw std::bad_alloc();
    }
    if (matches->count == 0) {
      throw Failure(ExitCode::kSelection, "no counter matches '" + pattern + "'",
                    "names are component:instance:counter and patterns are the shell's, such as "
                    "'pmc_res:cpu0:*'; 'tallyra-agent list' shows all names");
    }
    result.insert(matches->strings, matches->strings + matches->count);
  }
  return result;
}

}  // namespace

Selection select_counters(const Plugin& plugin, const tly_provider_t& provider,
                          const std::vector<std::string>& patterns) {
  NameSet wanted;
  if (!patterns.empty()) {
    wanted = matching_names(plugin, *all_counter_names(plugin, provider), patterns);
  }
  Selection selection{&provider, {}};
  Labels component_labels;
  Labels counter_labels;
  for (std::uint16_t i = 0; i < provider.num_components; ++i) {
    SelectedComponent component{provider.components[i], {}, {}};
    for (std::int32_t j = 0; j < component.component->num_counters; ++j) {
      const tly_counter_info_t* const info = component.component->counters[j];
      if (patterns.empty() || wanted.contains(info->name)) {
        component.counters.push_back(
            {info, counter_labels.unique(info->name), selection.counter_count++});
      }
    }
    if (!component.counters.empty()) {
      component.label = component_labels.unique(component.component->name);
      selection.components.push_back(std::move(component));
    }
  }
  if (selection.counter_count == 0) {
    throw Failure(ExitCode::kSelection, "the enabled components have no counters",
                  "see what python3 /usr/bin/vintor_pmc prints, or enable other components");
  }
  return selection;
}

}  // namespace tly::agent
