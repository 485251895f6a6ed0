#include "host/selection.h"

#include <cstdint>
#include <unordered_map>
#include <unordered_set>

#include "common/failure.h"

namespace tly::agent {
namespace {

using NameSet = std::unordered_set<std::string>;

// Hands out each label once: a name that comes back becomes name#2, name#3 and so on.
class Labels {
 public:
  std::string unique(const std::string& name) {
    std::uint64_t& copies = copies_[name];
    std::string label = name;
    while (!used_.insert(label).second) {
      ++copies;
      label = name + "#" + std::to_string(copies + 1);
    }
    return label;
  }

 private:
  std::unordered_map<std::string, std::uint64_t> copies_;
  NameSet used_;
};

std::string text_of(const char* text) { return text != nullptr ? text : ""; }

std::string component_name(const CounterSource& source, const tly_component_t& component) {
  const std::string name = text_of(component.name);
  return source.is_remote ? source.name + ":" + name : name;
}

// Many providers' counters already begin with their component.
std::string counter_name(const CounterSource& source, const tly_component_t& component,
                         const tly_counter_info_t& counter) {
  std::string name = text_of(counter.name);
  if (!source.is_remote) {
    return name;
  }
  const std::string component_prefix = text_of(component.name) + ":";
  return source.name + ":" + (name.starts_with(component_prefix) ? "" : component_prefix) + name;
}

SelectedComponent whole_component(const CounterSource& source, const tly_component_t& component) {
  SelectedComponent whole{&component, component_name(source, component), {}, 0, {}};
  for (std::int32_t i = 0; i < component.num_counters; ++i) {
    const tly_counter_info_t* const info = component.counters[i];
    whole.counters.push_back(
        {info, counter_name(source, component, *info), {}, static_cast<std::size_t>(i), 0, 0});
  }
  return whole;
}

// Everything that the sources offer, with the sources' positions, not yet numbered or labelled.
std::vector<SelectedComponent> offered_components(const Plugin& plugin,
                                                  const std::vector<CounterSource>& sources,
                                                  const tly_string_array_t* disable) {
  std::vector<SelectedComponent> offered;
  for (std::size_t i = 0; i < sources.size(); ++i) {
    const CounterSource& source = sources[i];
    for (std::uint16_t j = 0; j < source.provider->num_components; ++j) {
      const tly_component_t& component = *source.provider->components[j];
      const std::string name = source.name + "." + text_of(component.name);
      // The library itself leaves out what is disabled of the local provider.
      if (source.is_remote &&
          plugin.tly_match_patterns(name.c_str(), disable, TLY_NAME_MATCHING_WILDCARD)) {
        continue;
      }
      offered.push_back(whole_component(source, component));
      offered.back().source = i;
    }
  }
  return offered;
}

// Asks for one pattern at a time, to be able to name the one that matches nothing.
NameSet matching_names(const Plugin& plugin, const std::vector<SelectedComponent>& offered,
                       const std::vector<std::string>& patterns) {
  std::vector<std::string> all;
  for (const SelectedComponent& component : offered) {
    for (const SelectedCounter& counter : component.counters) {
      all.push_back(counter.name);
    }
  }
  const StringArray names = string_array_of(plugin, all);
  NameSet result;
  for (const std::string& pattern : patterns) {
    const StringArray enable = string_array_of(plugin, {pattern});
    const StringArray matches =
        required(plugin, plugin.tly_match_counter_names(names.get(), enable.get(), nullptr, nullptr,
                                                        TLY_NAME_MATCHING_WILDCARD));
    if (matches->count == 0) {
      const bool may_be_list = pattern.find(',') != std::string::npos;
      throw Failure(
          ExitCode::kSelection, "no counter matches '" + pattern + "'",
          std::string(may_be_list ? "--counter takes one pattern and can be repeated; " : "") +
              "names are component:instance:counter, preceded by grpc.NAME: for remote providers, "
              "and patterns are the shell's, such as 'pmc_res:cpu0:*'; 'tallyra-agent list' shows "
              "all names");
    }
    result.insert(matches->strings, matches->strings + matches->count);
  }
  return result;
}

// Takes the component over, with its source; the one before it is of the same source or an earlier.
void append(Selection& selection, SelectedComponent component, const CounterSource& source) {
  if (selection.sources.empty() || selection.sources.back().provider != source.provider) {
    selection.sources.push_back(source);
  }
  component.source = selection.sources.size() - 1;
  for (SelectedCounter& counter : component.counters) {
    counter.source = component.source;
    counter.position = selection.counter_count++;
  }
  selection.components.push_back(std::move(component));
}

void set_labels(Selection& selection) {
  Labels component_labels;
  Labels counter_labels;
  for (SelectedComponent& component : selection.components) {
    component.label = component_labels.unique(component.name);
    for (SelectedCounter& counter : component.counters) {
      counter.label = counter_labels.unique(counter.name);
    }
  }
}

}  // namespace

std::string Selection::source_names() const {
  std::string names;
  for (const CounterSource& source : sources) {
    names += (names.empty() ? "" : ",") + source.name;
  }
  return names;
}

Selection select_counters(const Plugin& plugin, const std::vector<CounterSource>& sources,
                          const tly_string_array_t* disable,
                          const std::vector<std::string>& patterns) {
  std::vector<SelectedComponent> offered = offered_components(plugin, sources, disable);
  if (offered.empty() && disable != nullptr) {
    throw no_component_enabled();
  }
  NameSet wanted;
  if (!patterns.empty()) {
    wanted = matching_names(plugin, offered, patterns);
  }
  Selection selection;
  for (SelectedComponent& component : offered) {
    if (!patterns.empty()) {
      std::erase_if(component.counters,
                    [&](const SelectedCounter& counter) { return !wanted.contains(counter.name); });
    }
    if (!component.counters.empty()) {
      const CounterSource& source = sources[component.source];
      append(selection, std::move(component), source);
    }
  }
  if (selection.counter_count == 0) {
    throw Failure(ExitCode::kSelection, "the enabled components have no counters",
                  "see what python3 /usr/bin/vintor_pmc prints, or enable other components");
  }
  set_labels(selection);
  return selection;
}

}  // namespace tly::agent
