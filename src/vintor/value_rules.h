// How a number of the tool's output is named and stored. Discovery and sampling must agree on both.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vintor::collector {

// Whether a component's values are unsigned integers, by component name; a name that is missing has
// floating-point values. Read from the settings while the library is loaded, never changed
// afterwards.
extern const std::unordered_map<std::string, bool> comp_name_to_is_uint;

// Whether the component's values are unsigned integers, but for those that may_be_unsigned() rules
// out.
bool component_is_unsigned(const std::string& component);
// Frequencies in MHz never are unsigned integers.
bool may_be_unsigned(std::string_view last_key);

// What a counter's name is made of. The texts are those of the section and the key path.
struct NameParts {
  std::string_view section;
  std::string_view instance;  // the second-to-last key
  std::string_view counter;   // the last key
};

// The key path holds at least two keys.
NameParts name_parts(std::string_view section, const std::vector<std::string>& key_path);

// Appends section:instance:counter.
void append_name(std::string& text, const NameParts& parts);
// Whether it is the name of these parts.
bool is_name_of(std::string_view name, const NameParts& parts);

}  // namespace vintor::collector
