// tallyra-agent list: what the library offers, as the library describes it.
#pragma once

#include "host/plugin.h"
#include "host/selection.h"

namespace tly::agent {

void list_as_text(const Plugin& plugin, const Selection& selection);

// One JSON document per provider, in an array where asked for.
void list_as_json(const Plugin& plugin, const Selection& selection, bool as_array);

}  // namespace tly::agent
