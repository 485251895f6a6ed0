// Records, JSON texts and printouts of the counter tests.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>

#include "encoding/json_ptr.h"
#include "tallyra/counters_schema.h"
#include "tallyra/string_array.h"

namespace tly::test {

inline void release_counter(tly_counter_info_t* counter) {
  tly_destroy_counter_info(counter);
  std::free(counter);
}
using CounterPtr = Owned<tly_counter_info_t, &release_counter>;
using GroupPtr = Owned<tly_counter_group_t, &tly_destroy_counter_group>;
using CountersSchemaPtr = Owned<tly_counters_schema_t, &tly_destroy_counters_schema>;
using StringArrayPtr = Owned<tly_string_array_t, &tly_free_string_array>;

inline CounterPtr make_counter(std::string name, tly_data_type_t data_type, uint32_t offset = 0,
                               uint32_t length = 8) {
  std::string description = "what it counts";
  std::string units;
  const tly_counter_info_t counter{
      0,     name.data(), description.data(), units.data(), data_type, 0, offset, length, 0,
      false, false};
  return CounterPtr(tly_counter_info_deep_copy(&counter));
}

// A group without a provider.
inline GroupPtr make_group(std::initializer_list<CounterPtr> counters, uint32_t num_sets = 1) {
  GroupPtr group(allocate_zeroed<tly_counter_group_t>().release());
  group->num_counter_sets = num_sets;
  for (const CounterPtr& counter : counters) {
    tly_add_counter_to_group(group.get(), counter.get());
  }
  return group;
}

inline StringArrayPtr make_strings(std::initializer_list<const char*> strings) {
  tly_string_array_t* array = tly_init_string_array();
  for (const char* string : strings) {
    tly_append_string_array(&array, string);
  }
  return StringArrayPtr(array);
}

inline JsonPtr parse(const std::string& text) { return JsonPtr(json_parse_string(text.c_str())); }

// The compact text of a value, which is released.
inline std::string serialized(JSON_Value* value) {
  const JsonPtr owned(value);
  char* text = json_serialize_to_string(owned.get());
  const std::string result = text != nullptr ? text : "null pointer";
  json_free_serialized_string(text);
  return result;
}

// What print(stream) writes.
template <typename Print>
std::string printed(Print print) {
  char* text = nullptr;
  std::size_t length = 0;
  FILE* stream = open_memstream(&text, &length);
  print(stream);
  std::fclose(stream);
  const OwnedString owned(text);
  return {text, length};
}

}  // namespace tly::test
