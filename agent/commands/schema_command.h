// tallyra-agent schema: how the values of a collection are laid out.
#pragma once

#include "command_line/command_line.h"
#include "host/plugin.h"
#include "host/selection.h"

namespace tly::agent {

// Both throw Failure.

// The schema of what is selected.
void run_schema(const Plugin& plugin, const Selection& selection, const SchemaRequest& request);

// The saved schema that the request names. Needs no provider.
void run_saved_schema(const Plugin& plugin, const SchemaRequest& request);

}  // namespace tly::agent
