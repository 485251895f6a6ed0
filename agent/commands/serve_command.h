// tallyra-agent serve: the counters for Prometheus.
#pragma once

#include <string>
#include <vector>

#include "command_line/command_line.h"
#include "host/host_logger.h"
#include "host/session.h"

namespace tly::agent {

// Serves until a signal. When a provider then does not end its last read, the process ends with the
// status. The logger counts. Throws Failure.
void run_serve(const Plugin& plugin, Session& session, const HostLogger& logger,
               const CommandLine& command_line, const std::vector<std::string>& absent_providers,
               int exit_status);

}  // namespace tly::agent
