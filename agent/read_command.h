// tallyra-agent read: samples as tables, JSON lines or CSV.
#pragma once

#include "command_line.h"
#include "host_logger.h"
#include "session.h"

namespace tly::agent {

// Returns the process's exit status. Throws Failure.
int run_read(Session& session, const HostLogger& logger, const CommandLine& command_line);

}  // namespace tly::agent
