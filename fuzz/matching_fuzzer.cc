// Filters: the lines of the input are a name, patterns that enable and that disable, and further
// names, all but the first as comma lists.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "checks.h"
#include "common/owned.h"
#include "tallyra/name_matching.h"

namespace {

using tly::fuzz::require;
using StringArrayPtr = tly::Owned<tly_string_array_t, &tly_free_string_array>;

std::string next_line(std::string& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  const std::string line = text.substr(0, end);
  text.erase(0, end + 1);
  return line;
}

// What stands between the commas, up to a NUL.
StringArrayPtr next_list(std::string& text) {
  const std::string line = next_line(text);
  std::vector<std::string> tokens;
  for (std::size_t begin = 0, end = 0; end != line.npos; begin = end + 1) {
    end = line.find(',', begin);
    tokens.emplace_back(line.substr(begin, end - begin).c_str());
  }
  std::erase(tokens, "");
  const std::vector<char> exact(line.begin(), line.end());  // no NUL at its end
  StringArrayPtr list(tly_string_array_from_comma_separated_string(exact.data(), exact.size()));
  require(std::equal(tokens.begin(), tokens.end(), list->strings, list->strings + list->count));
  return list;
}

bool matches(const std::string& name, const StringArrayPtr& patterns, tly_name_matching_t mode) {
  return tly_match_patterns(name.c_str(), patterns.get(), mode);
}

// Of patterns that mean no more than their letters.
bool has_plain_match(const std::string& name, const tly_string_array_t& patterns) {
  return std::any_of(patterns.strings, patterns.strings + patterns.count, [&](const char* pattern) {
    const std::size_t length = std::strlen(pattern);
    return std::strpbrk(pattern, "*?[\\") == nullptr &&
           strncasecmp(pattern, name.c_str(), length) == 0 &&
           (name[length] == '\0' || name[length] == '.');
  });
}

void check_name(const std::string& name, const StringArrayPtr& enable,
                const StringArrayPtr& disable) {
  const bool is_wanted = matches(name, enable, TLY_NAME_MATCHING_WILDCARD);
  const bool is_enabled = is_wanted && !matches(name, disable, TLY_NAME_MATCHING_WILDCARD);
  const tly_options_t both{enable.get(), disable.get(), nullptr};
  const tly_options_t disabling{nullptr, disable.get(), nullptr};
  require(tly_comp_is_enabled(name.c_str(), &both) == is_enabled);
  require(!tly_comp_is_enabled(name.c_str(), &disabling));
  require(is_wanted || !has_plain_match(name, *enable));
  require(matches(name, enable, TLY_NAME_MATCHING_EXACT) ==
          tly_string_array_contains(enable.get(), name.c_str()));
  const bool is_contained = matches(name, enable, TLY_NAME_MATCHING_CONTAINS);
  require(tly_plugin_file_is_enabled(name.c_str(), enable.get(), disable.get()) ==
          ((is_wanted || is_contained) && !matches(name, disable, TLY_NAME_MATCHING_CONTAINS)));
  require(!matches(name, enable, TLY_NAME_MATCHING_CONTAINS + 1));
  tly_plugin_file_component_is_enabled(name.c_str(), enable.get());
}

void check_selection(const StringArrayPtr& names, const StringArrayPtr& enable,
                     const StringArrayPtr& disable, const StringArrayPtr& mandatory,
                     tly_name_matching_t mode) {
  std::vector<std::string> expected;
  for (uint64_t i = 0; i < names->count; ++i) {
    if (matches(names->strings[i], enable, mode) && !matches(names->strings[i], disable, mode)) {
      expected.emplace_back(names->strings[i]);
    }
  }
  expected.insert(expected.end(), mandatory->strings, mandatory->strings + mandatory->count);
  std::sort(expected.begin(), expected.end());
  if (mandatory->count > 0) {
    expected.erase(std::unique(expected.begin(), expected.end()), expected.end());
  }
  const StringArrayPtr selected(
      tly_match_counter_names(names.get(), enable.get(), disable.get(), mandatory.get(), mode));
  require(std::equal(expected.begin(), expected.end(), selected->strings,
                     selected->strings + selected->count));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string input(data, data + size);
  const std::string name = next_line(input).c_str();
  const StringArrayPtr enable = next_list(input);
  const StringArrayPtr disable = next_list(input);
  const StringArrayPtr names = next_list(input);
  const StringArrayPtr mandatory = next_list(input);
  check_name(name, enable, disable);
  for (tly_name_matching_t mode = 0; mode <= TLY_NAME_MATCHING_CONTAINS; ++mode) {
    check_selection(names, enable, disable, mandatory, mode);
  }
  return 0;
}
