#include "encoding/json_template.h"

#include "common/log.h"

namespace tly {

ShapeCheck JsonTemplate::check(const JSON_Value* value) noexcept {
  if (shape_ == nullptr) {
    shape_.reset(json_parse_string(text_));
  }
  if (shape_ == nullptr) {
    return ShapeCheck::kUnparsable;
  }
  return value != nullptr && json_validate(shape_.get(), value) == JSONSuccess
             ? ShapeCheck::kMatches
             : ShapeCheck::kDiffers;
}

bool JsonTemplate::matches(const JSON_Value* value) noexcept {
  const ShapeCheck result = check(value);
  if (result == ShapeCheck::kUnparsable) {
    TLY_LOG_ERROR("Unable to parse schema to JSON value: '%s'", text_);
  } else if (result == ShapeCheck::kDiffers) {
    TLY_LOG_ERROR("JSON does not match schema '%s'", text_);
  }
  return result == ShapeCheck::kMatches;
}

bool matches_json_template(const JSON_Value* value, const char* template_text) noexcept {
  return JsonTemplate(template_text).matches(value);
}

}  // namespace tly
