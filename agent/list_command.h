// tallyra-agent list: what the library offers.
#pragma once

#include "plugin.h"
#include "selection.h"

namespace tly::agent {

void list_as_text(const Plugin& plugin, const Selection& selection);

// One JSON document, made by the library's own encoding of counters.
void list_as_json(const Plugin& plugin, const Selection& selection);

}  // namespace tly::agent
