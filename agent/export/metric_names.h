// What counters are called for Prometheus.
#pragma once

#include <string>
#include <string_view>

#include "tallyra/counter_data.h"

namespace tly::agent {

// Running sums alone start at zero and only grow, as rates expect of what they are taken from. An
// absolute value that never falls, such as a peak, does not.
inline bool is_sum(const tly_counter_info_t& counter) {
  return counter.counting_type == TLY_COUNTING_TYPE_RUNNING_SUM;
}

struct MetricName {
  std::string name;      // "tallyra_user_seconds_total"; "_total" ends the names of sums, and of no
                         // others
  std::string instance;  // of the counter's name, as it stands there; empty: none
  // What the value is multiplied with, then divided by, to be in the unit that the name ends in.
  double multiplier = 1;
  double divisor = 1;
};

// From the last part of the counter's name: component:instance:counter, instance:counter or
// counter. Different counters may get the same.
MetricName metric_name(std::string_view component, const tly_counter_info_t& counter);

}  // namespace tly::agent
