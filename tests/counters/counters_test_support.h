// Records of the counter tests.
#pragma once

#include <initializer_list>
#include <string>

#include "records.h"

namespace tly::test {

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

inline JsonPtr parse(const std::string& text) { return JsonPtr(json_parse_string(text.c_str())); }

}  // namespace tly::test
