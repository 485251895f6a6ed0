// Owners of what the library allocates.
#pragma once

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "host/plugin.h"

namespace tly::agent {

struct Release {
  const Plugin* plugin;
  void operator()(tly_string_array_t* array) const { plugin->tly_free_string_array(array); }
  void operator()(JSON_Value* value) const { plugin->json_value_free(value); }
  void operator()(char* json_text) const { plugin->json_free_serialized_string(json_text); }
  void operator()(tly_dict_t* dictionary) const { plugin->tly_dict_delete(dictionary); }
  void operator()(tly_source_array_t* sources) const { plugin->tly_destroy_source_array(sources); }
  // Its groups, too, through their providers.
  void operator()(tly_counters_schema_t* schema) const {
    plugin->tly_destroy_counters_schema(schema);
  }
  void operator()(tly_counter_group_t* group) const { plugin->tly_destroy_counter_group(group); }
  void operator()(tly_type_system_t* types) const { plugin->tly_destroy_type_system(types); }
};

template <typename Record>
using Owned = std::unique_ptr<Record, Release>;

using StringArray = Owned<tly_string_array_t>;
using Json = Owned<JSON_Value>;
using JsonText = Owned<char>;
using Dictionary = Owned<tly_dict_t>;
using Sources = Owned<tly_source_array_t>;
using CountersSchema = Owned<tly_counters_schema_t>;
using CounterGroup = Owned<tly_counter_group_t>;
using TypeSystem = Owned<tly_type_system_t>;

// Takes over what the library returned; throws std::bad_alloc for null, which is what its
// functions return when memory runs out.
template <typename Record>
Owned<Record> required(const Plugin& plugin, Record* record) {
  if (record == nullptr) {
    throw std::bad_alloc();
  }
  return Owned<Record>(record, Release{&plugin});
}

inline StringArray string_array_of(const Plugin& plugin, const std::vector<std::string>& texts) {
  StringArray result = required(plugin, plugin.tly_init_string_array());
  for (const std::string& text : texts) {
    tly_string_array_t* grown = result.release();
    const bool is_appended = plugin.tly_append_string_array(&grown, text.c_str());
    result.reset(grown);
    if (!is_appended) {
      throw std::bad_alloc();
    }
  }
  return result;
}

}  // namespace tly::agent
