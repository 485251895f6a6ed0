// Writes a value as JSON text.
#pragma once

#include "sink.h"
#include "tallyra/parson.h"

namespace tly::json {

enum class Layout { kCompact, kPretty };

// False when the sink fails or memory for the nesting runs out.
bool write_value(const JSON_Value* value, Layout layout, Sink& sink) noexcept;

// Writes the text and a NUL into a buffer, which stays as it is when it is too small or memory for
// the nesting runs out.
bool write_if_it_fits(const JSON_Value* value, Layout layout, char* buffer,
                      std::size_t size) noexcept;

}  // namespace tly::json
