#include "tallyra/name_matching.h"

#include <fnmatch.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "common/log.h"
#include "common/owned.h"
#include "tallyra/string_utils.h"

namespace {

using tly::OwnedString;
using StringArrayPtr = tly::Owned<tly_string_array_t, &tly_free_string_array>;

constexpr tly_pair_t kModeNames[] = {
    {TLY_NAME_MATCHING_EXACT, "exact"},
    {TLY_NAME_MATCHING_WILDCARD, "wildcard"},
    {TLY_NAME_MATCHING_EXACT, "regexp"},
    {TLY_NAME_MATCHING_CONTAINS, "contains"},
    {-1, nullptr},
};

enum class Match { kNo, kYes, kFailed };

constexpr Match match_when(bool matched) noexcept { return matched ? Match::kYes : Match::kNo; }

Match match_exact(const char* pattern, const char* name) noexcept {
  return match_when(std::strcmp(pattern, name) == 0);
}

// A pattern that names a provider also selects everything below it.
Match match_wildcard(const char* pattern, const char* name) noexcept {
  if (fnmatch(pattern, name, FNM_CASEFOLD) == 0) {
    return Match::kYes;
  }
  const OwnedString below(tly_expand_string_template("%s.*", pattern));
  if (below == nullptr) {
    TLY_LOG_ERROR("Error: unable to allocate memory for wildcard string search");
    return Match::kFailed;
  }
  return match_when(fnmatch(below.get(), name, FNM_CASEFOLD) == 0);
}

Match match_contained(const char* pattern, const char* name) noexcept {
  return match_when(std::strstr(name, pattern) != nullptr);
}

struct ModeMatcher {
  tly_name_matching_t mode;
  Match (*match)(const char* pattern, const char* name) noexcept;
};

constexpr ModeMatcher kMatchers[] = {
    {TLY_NAME_MATCHING_EXACT, &match_exact},
    {TLY_NAME_MATCHING_WILDCARD, &match_wildcard},
    {TLY_NAME_MATCHING_CONTAINS, &match_contained},
};

void warn_of_conflict(const char* name) noexcept {
  TLY_LOG_WARNING("'%s' will not run. specified in disable-provider and in enable-provider.", name);
}

// A new array of the names for which matching the patterns gives `wanted`; null when memory runs
// out.
StringArrayPtr keep_names(const tly_string_array_t* names, const tly_string_array_t* patterns,
                          tly_name_matching_t mode, bool wanted) noexcept {
  tly_string_array_t* kept = tly_init_string_array();
  if (kept == nullptr) {
    return nullptr;
  }
  bool complete = true;
  for (uint64_t index = 0; complete && index < names->count; ++index) {
    const char* name = names->strings[index];
    if (tly_match_patterns(name, patterns, mode) == wanted) {
      complete = tly_append_string_array(&kept, name);
    }
  }
  StringArrayPtr result(kept);
  return complete ? std::move(result) : nullptr;
}

void sort_strings(tly_string_array_t* array) noexcept {
  std::sort(array->strings, array->strings + array->count,
            [](const char* a, const char* b) { return std::strcmp(a, b) < 0; });
}

// Adds the mandatory names, sorts, and removes duplicates. The array may move, or be gone after a
// failure.
bool merge_mandatory(tly_string_array_t** names, const tly_string_array_t* mandatory) noexcept {
  if (!tly_string_array_join(names, mandatory)) {
    TLY_LOG_ERROR("could not join mandatory counters properly to names array");
    return false;
  }
  sort_strings(*names);
  if (!tly_string_array_remove_duplicates(names, true)) {
    TLY_LOG_ERROR("could not remove duplicates from string array");
    return false;
  }
  return true;
}

}  // namespace

const char* tly_name_matching_string(uint32_t mode) { return pair_get_string(kModeNames, mode); }

uint32_t tly_name_matching_from_string(const char* name) {
  return name != nullptr ? pair_get_number(kModeNames, name) : 0xFFFFFFFFU;
}

bool tly_match_patterns(const char* name, const tly_string_array_t* patterns,
                        tly_name_matching_t mode) {
  const auto* matcher = std::find_if(std::begin(kMatchers), std::end(kMatchers),
                                     [mode](const auto& entry) { return entry.mode == mode; });
  if (name == nullptr || patterns == nullptr || matcher == std::end(kMatchers)) {
    return false;
  }
  for (uint64_t index = 0; index < patterns->count; ++index) {
    const Match match = matcher->match(patterns->strings[index], name);
    if (match != Match::kNo) {
      return match == Match::kYes;
    }
  }
  return false;
}

bool tly_plugin_is_enabled(const char* name, const tly_string_array_t* enable,
                           const tly_string_array_t* disable) {
  const bool is_enabled = tly_match_patterns(name, enable, TLY_NAME_MATCHING_WILDCARD);
  const bool is_disabled = tly_match_patterns(name, disable, TLY_NAME_MATCHING_WILDCARD);
  if (is_enabled && is_disabled) {
    warn_of_conflict(name);
  }
  return is_enabled && !is_disabled;
}

bool tly_plugin_file_is_enabled(const char* name, const tly_string_array_t* enable,
                                const tly_string_array_t* disable) {
  if (!tly_match_patterns(name, enable, TLY_NAME_MATCHING_WILDCARD) &&
      !tly_match_patterns(name, enable, TLY_NAME_MATCHING_CONTAINS)) {
    return false;
  }
  if (tly_match_patterns(name, disable, TLY_NAME_MATCHING_CONTAINS)) {
    warn_of_conflict(name);
    return false;
  }
  return true;
}

bool tly_comp_is_enabled(const char* name, const tly_options_t* options) {
  if (options == nullptr ||
      (options->enable_patterns == nullptr && options->disable_patterns == nullptr)) {
    return true;
  }
  return tly_plugin_is_enabled(name, options->enable_patterns, options->disable_patterns);
}

bool tly_plugin_file_component_is_enabled(const char* file_name,
                                          const tly_string_array_t* patterns) {
  if (file_name == nullptr || patterns == nullptr) {
    return false;
  }
  for (uint64_t index = 0; index < patterns->count; ++index) {
    const char* pattern = patterns->strings[index];
    const char* dot = std::strrchr(pattern, '.');
    if (dot == nullptr) {
      continue;
    }
    const OwnedString plugin(strndup(pattern, static_cast<std::size_t>(dot - pattern)));
    if (plugin == nullptr) {
      TLY_LOG_ERROR("Error: unable to allocate memory for component string search");
      return false;
    }
    if (std::strstr(file_name, plugin.get()) != nullptr) {
      return true;
    }
  }
  return false;
}

tly_string_array_t* tly_match_counter_names(const tly_string_array_t* names,
                                            const tly_string_array_t* enable,
                                            const tly_string_array_t* disable,
                                            const tly_string_array_t* mandatory,
                                            tly_name_matching_t mode) {
  if (names == nullptr) {
    return nullptr;
  }
  StringArrayPtr selected = keep_names(names, enable, mode, true);
  if (selected != nullptr) {
    selected = keep_names(selected.get(), disable, mode, false);
  }
  if (selected == nullptr) {
    return nullptr;
  }
  if (mandatory == nullptr || mandatory->count == 0) {
    sort_strings(selected.get());
    return selected.release();
  }
  tly_string_array_t* merged = selected.release();
  if (!merge_mandatory(&merged, mandatory)) {
    TLY_LOG_ERROR("failed to match counter names");
    tly_free_string_array(merged);
    return nullptr;
  }
  return merged;
}
