// tallyra-agent read: samples as tables, JSON lines or CSV.
#pragma once

#include "command_line/command_line.h"
#include "host/host_logger.h"
#include "host/session.h"

namespace tly::agent {

// Returns the process's exit status. Throws Failure.
int run_read(Session& session, const HostLogger& logger, const CommandLine& command_line,
             Omissions& omissions);

}  // namespace tly::agent
