// Events as JSON lines.
#pragma once

#include <string>

#include "host/event_feed.h"
#include "host/event_records.h"
#include "host/plugin.h"

namespace tly::agent {

// One object and a newline; a field that cannot be converted is null.
std::string event_line(const Plugin& plugin, const EventBatch& batch, const Event& event);

}  // namespace tly::agent
