// tallyra-agent watch: a table that follows the counters.
#pragma once

#include "command_line/command_line.h"
#include "host/host_logger.h"
#include "host/session.h"

namespace tly::agent {

// On a terminal the table is refreshed in place until a signal or a key ends it; elsewhere plain
// tables are printed one after another. Throws Failure.
void run_watch(Session& session, HostLogger& logger, const CommandLine& command_line,
               Omissions& omissions);

}  // namespace tly::agent
