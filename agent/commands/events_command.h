// tallyra-agent events: what event providers report, as JSON lines or as the records they come in.
#pragma once

#include "command_line/command_line.h"
#include "common/failure.h"
#include "host/remote_providers.h"

namespace tly::agent {

// Returns the process's exit status. Throws Failure. The type system must outlive the providers.
int run_events(const Plugin& plugin, tly_type_system_t& type_system,
               const std::vector<RemoteEvents>& providers, const CommandLine& command_line,
               Omissions& omissions);

}  // namespace tly::agent
