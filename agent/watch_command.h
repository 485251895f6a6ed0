// tallyra-agent watch: a table that follows the counters.
#pragma once

#include "command_line.h"
#include "host_logger.h"
#include "session.h"

namespace tly::agent {

// On a terminal the table is refreshed in place until a signal or a key ends it; elsewhere plain
// tables are printed one after another. Throws Failure.
void run_watch(Session& session, HostLogger& logger, const CommandLine& command_line);

}  // namespace tly::agent
