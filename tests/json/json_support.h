// What the tests of the JSON layer share.
#pragma once

#include <memory>
#include <string>

#include "tallyra/parson.h"

struct FreeValue {
  void operator()(JSON_Value* value) const { json_value_free(value); }
};
using OwnedValue = std::unique_ptr<JSON_Value, FreeValue>;

inline std::string take_text(char* text) {
  const std::string taken = text == nullptr ? "null pointer" : text;
  json_free_serialized_string(text);
  return taken;
}

inline std::string compact(const JSON_Value* value) {
  return take_text(json_serialize_to_string(value));
}

inline OwnedValue parsed(const std::string& text) {
  return OwnedValue(json_parse_string(text.c_str()));
}

// The compact form of what a text parses to; "null pointer" when it does not.
inline std::string reprinted(const std::string& text) { return compact(parsed(text).get()); }

inline std::string repeated(const std::string& text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}
