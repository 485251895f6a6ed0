// Owners of records for the tests, and what is written about records as text.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

#include "encoding/json_ptr.h"
#include "tallyra/type_system.h"

namespace tly::test {

inline void release_counter(tly_counter_info_t* counter) {
  tly_destroy_counter_info(counter);
  std::free(counter);
}
using CounterPtr = Owned<tly_counter_info_t, &release_counter>;
using GroupPtr = Owned<tly_counter_group_t, &tly_destroy_counter_group>;
using CountersSchemaPtr = Owned<tly_counters_schema_t, &tly_destroy_counters_schema>;
using TypeSystemPtr = Owned<tly_type_system_t, &tly_destroy_type_system>;
using TextPtr = Owned<char, &json_free_serialized_string>;

// A text of the JSON layer, which is released.
inline std::string taken(char* text) {
  const TextPtr owned(text);
  return text != nullptr ? text : "null pointer";
}

// The text of a value, which is released.
inline std::string serialized(JSON_Value* value, bool pretty = false) {
  const JsonPtr owned(value);
  return taken(pretty ? json_serialize_to_string_pretty(value) : json_serialize_to_string(value));
}

// What print(stream) writes.
template <typename Print>
std::string printed(Print print) {
  char* text = nullptr;
  std::size_t length = 0;
  FILE* const stream = open_memstream(&text, &length);
  print(stream);
  std::fclose(stream);
  const OwnedString owned(text);
  return {text, length};
}

}  // namespace tly::test
