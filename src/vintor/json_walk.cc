#include "vintor/json_walk.h"

#include <cstddef>

#include "common/log.h"
#include "encoding/json_ptr.h"

namespace vintor::collector {

bool enumerate_json(const char* text, LeafCallback callback, void* context,
                    const std::string& first_key) {
  const tly::JsonPtr value(json_parse_string_with_comments(text));
  if (!value) {
    TLY_LOG_ERROR("[vintor] Failed to parse the input string as JSON");
    return false;
  }
  std::vector<std::string> key_path;
  if (!first_key.empty()) {
    key_path.push_back(first_key);
  }
  walk_json_value(value.get(), key_path, callback, context);
  return true;
}

// The parser bounds the nesting, and with it the depth of this recursion.
void walk_json_value(const JSON_Value* value, std::vector<std::string>& key_path,
                     LeafCallback callback, void* context) {
  const JSON_Value_Type type = json_value_get_type(value);
  if (type == JSONNumber) {
    callback(key_path, json_value_get_number(value), context);
    return;
  }
  if (type != JSONObject) {
    TLY_LOG_WARNING("[vintor] Got an unexpected type in the JSON object (%d)", type);
    return;
  }
  const JSON_Object* object = json_value_get_object(value);
  const std::size_t member_count = json_object_get_count(object);
  for (std::size_t i = 0; i < member_count; ++i) {
    key_path.emplace_back(json_object_get_name(object, i));
    walk_json_value(json_object_get_value_at(object, i), key_path, callback, context);
    key_path.pop_back();
  }
}

}  // namespace vintor::collector
