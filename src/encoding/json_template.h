// Shape checks for JSON that is about to be decoded.
#pragma once

#include "encoding/json_ptr.h"

namespace tly {

enum class ShapeCheck { kMatches, kDiffers, kUnparsable };

// The shape that a template text describes. The text is parsed once, by the first check.
class JsonTemplate {
 public:
  explicit JsonTemplate(const char* text) noexcept : text_(text) {}

  // Whether the value has the same types as the template and every member of it. Logs nothing.
  ShapeCheck check(const JSON_Value* value) noexcept;

  // The same; a mismatch, or a template that cannot be parsed, is logged.
  bool matches(const JSON_Value* value) noexcept;

  const char* text() const noexcept { return text_; }

 private:
  const char* text_;
  JsonPtr shape_;
};

// The same for one check.
bool matches_json_template(const JSON_Value* value, const char* template_text) noexcept;

}  // namespace tly
