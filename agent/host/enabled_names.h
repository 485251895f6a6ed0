// What the --enable and --disable patterns ask for.
#pragma once

#include <string>
#include <vector>

#include "common/failure.h"
#include "host/owned.h"

namespace tly::agent {

constexpr const char* kLocalProvider = "vintor";
constexpr const char* kRemoteMark = "grpc.";

struct EnabledNames {
  StringArray local_enable;  // null without any; "*" where there are patterns to disable only
  StringArray disable;       // null without any
  std::vector<std::string> remote;  // without the "grpc.", in order, each once
  bool asks_for_remote = false;     // also when --disable leaves no name of them
  bool needs_local = true;  // false when all of it is disabled and remote ones are asked for
};

// Takes comma-separated lists. Throws Failure for one that is wrong.
EnabledNames enabled_names(const Plugin& plugin, const std::vector<std::string>& enable,
                           const std::vector<std::string>& disable);

// What is reported when the patterns leave nothing.
Failure no_component_enabled();

}  // namespace tly::agent
