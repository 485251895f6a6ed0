// Writes a value as JSON text.
#pragma once

#include "parson.h"
#include "sink.h"

namespace tly::json {

enum class Layout { kCompact, kPretty };

// False when the sink fails or memory for the nesting runs out.
bool write_value(const JSON_Value* value, Layout layout, Sink& sink) noexcept;

}  // namespace tly::json
