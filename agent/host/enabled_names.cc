#include "host/enabled_names.h"

#include <algorithm>
#include <string_view>

namespace tly::agent {
namespace {

std::vector<std::string> tokens_of(const Plugin& plugin, const std::vector<std::string>& lists,
                                   const char* option) {
  std::vector<std::string> tokens;
  for (const std::string& list : lists) {
    const StringArray split = required(
        plugin, plugin.tly_string_array_from_comma_separated_string(list.c_str(), list.size()));
    if (split->count == 0) {
      throw Failure(ExitCode::kUsage, std::string(option) + " has no pattern in '" + list + "'",
                    "give one or more patterns, separated by commas");
    }
    tokens.insert(tokens.end(), split->strings, split->strings + split->count);
  }
  return tokens;
}

// The mark opens a name wherever it stands, so it may stand at the beginning only.
std::string remote_name(const std::string& token) {
  const std::string_view mark = kRemoteMark;
  if (!token.starts_with(mark) || token.size() == mark.size() ||
      token.find(mark, 1) != std::string::npos) {
    throw Failure(ExitCode::kUsage, "'" + token + "' is not grpc. and a remote provider's name",
                  "name one provider in each, such as --enable grpc.host,grpc.process");
  }
  return token.substr(mark.size());
}

bool matches(const Plugin& plugin, const std::string& pattern, const char* name) {
  const StringArray patterns = string_array_of(plugin, {pattern});
  return plugin.tly_match_patterns(name, patterns.get(), TLY_NAME_MATCHING_WILDCARD);
}

// Whether the pattern matches the local provider and so, as the library matches, all components.
bool matches_local(const Plugin& plugin, const std::string& pattern) {
  const bool is_of_components = pattern.ends_with(".*");
  return matches(plugin, is_of_components ? pattern.substr(0, pattern.size() - 2) : pattern,
                 kLocalProvider);
}

}  // namespace

EnabledNames enabled_names(const Plugin& plugin, const std::vector<std::string>& enable,
                           const std::vector<std::string>& disable) {
  EnabledNames names;
  const std::vector<std::string> disabled = tokens_of(plugin, disable, "--disable");
  if (!disabled.empty()) {
    names.disable = string_array_of(plugin, disabled);
  }
  const StringArray everything = string_array_of(plugin, {"*"});
  std::vector<std::string> local;
  for (const std::string& token : tokens_of(plugin, enable, "--enable")) {
    if (token.find(kRemoteMark) == std::string::npos) {
      local.push_back(token);
      continue;
    }
    names.asks_for_remote = true;
    std::string name = remote_name(token);
    const bool is_new =
        std::find(names.remote.begin(), names.remote.end(), name) == names.remote.end();
    if (is_new &&
        plugin.tly_plugin_is_enabled(token.c_str(), everything.get(), names.disable.get())) {
      names.remote.push_back(std::move(name));
    }
  }
  // The library enables only what an enable pattern selects, as soon as there is any pattern.
  if (local.empty() && names.disable) {
    local.emplace_back("*");
  }
  if (!local.empty()) {
    names.local_enable = string_array_of(plugin, local);
  }
  names.needs_local =
      !names.asks_for_remote ||
      std::none_of(disabled.begin(), disabled.end(),
                   [&](const std::string& pattern) { return matches_local(plugin, pattern); });
  return names;
}

Failure no_component_enabled() {
  return {ExitCode::kSelection, "the --enable and --disable patterns leave no component enabled",
          "patterns are held against provider.component, such as vintor.pmc_res; "
          "'tallyra-agent list' shows what there is"};
}

}  // namespace tly::agent
