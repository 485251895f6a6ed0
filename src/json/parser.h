// Parses a text that ends in NUL.
#pragma once

#include "tallyra/parson.h"

namespace tly::json {

// The first value of the text, or null. Nothing but white space may be in front of it.
JSON_Value* parse_text(const char* text) noexcept;

}  // namespace tly::json
