// Decoding many counter records with one parse of each template.
#pragma once

#include "encoding/json_template.h"
#include "tallyra/counter_group.h"

namespace tly {

struct CounterTemplates {
  JsonTemplate group{
      R"({"granularity" : "", "num_counters" : 0, "num_counter_sets" : 0, "counters" : []})"};
  JsonTemplate counter{
      R"({"name" : "", "description" : "", "units" : "", "data_type" : "", "counting_type" : ""})"};
};

// As tly_counter_info_from_json() and tly_counter_group_from_json().
tly_counter_info_t* decode_counter(const JSON_Value* value, CounterTemplates& templates) noexcept;
tly_counter_group_t* decode_counter_group(const JSON_Value* value,
                                          CounterTemplates& templates) noexcept;

}  // namespace tly
