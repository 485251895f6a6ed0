// Runs the commands of the provider: on this host through a shell, or, inside a container, through
// the mediator's command service. Which of the two is decided once per process from DOCKER_ENV and
// RUN_IN_DOCKER.
#pragma once

#include <cstdint>

namespace vintor::collector {

// Runs a command to its end, without a time limit on this host, and hands over what it printed on
// standard output and standard error: NUL-terminated text that the caller releases with free(3),
// and its length in bytes. Either address may be null. True when the command succeeded; an empty
// or, from the service, even a null text is possible then. On false there is nothing to release.
bool execute_command(const char* command, char** output, std::uint64_t* length);

// Whether the tool is there.
bool is_available();

}  // namespace vintor::collector
