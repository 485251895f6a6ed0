// tallyra-agent schema: how the values of a collection are laid out.
#pragma once

#include "command_line.h"
#include "plugin.h"
#include "selection.h"

namespace tly::agent {

// Both throw Failure.

// The schema of what is selected.
void run_schema(const Plugin& plugin, tly_provider_t& provider, const Selection& selection,
                const SchemaRequest& request);

// The saved schema that the request names. Needs no provider.
void run_saved_schema(const Plugin& plugin, const SchemaRequest& request);

}  // namespace tly::agent
