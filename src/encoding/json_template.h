// Shape checks for JSON that is about to be decoded.
#pragma once

#include "parson.h"

namespace tly {

// Whether the value has the shape of the template text: the same types, and every member of the
// template. A mismatch, or a template that cannot be parsed, is logged.
bool matches_json_template(const JSON_Value* value, const char* template_text) noexcept;

}  // namespace tly
