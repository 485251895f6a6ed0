#include "encoding/json_template.h"

#include "common/log.h"
#include "encoding/json_ptr.h"

namespace tly {

bool matches_json_template(const JSON_Value* value, const char* template_text) noexcept {
  const JsonPtr shape(json_parse_string(template_text));
  if (shape == nullptr) {
    TLY_LOG_ERROR("Unable to parse schema to JSON value: '%s'", template_text);
    return false;
  }
  if (value == nullptr || json_validate(shape.get(), value) != JSONSuccess) {
    TLY_LOG_ERROR("JSON does not match schema '%s'", template_text);
    return false;
  }
  return true;
}

}  // namespace tly
