// How a number of the tool's output is named and stored. Discovery and sampling must agree on both.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

namespace vintor::collector {

// Whether a component's values are unsigned integers, by component name; a name that is missing has
// floating-point values. Read from the settings while the library is loaded, never changed
// afterwards.
extern const std::unordered_map<std::string, bool> comp_name_to_is_uint;

// Whether the component's values are unsigned integers, as far as their names allow it.
bool component_is_unsigned(const std::string& component);
// Frequencies in MHz never are unsigned integers.
bool may_be_unsigned(const std::string& last_key);

// component:second-to-last key:last key. The key path holds at least two keys.
std::string counter_name(const std::string& component, const std::vector<std::string>& key_path);

}  // namespace vintor::collector
