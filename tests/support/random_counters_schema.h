// Counters schemas as a collection could describe them, for tests of what must hold for all.
#pragma once

#include <cstring>
#include <random>

#include "common/owned.h"
#include "tallyra/counters_schema.h"

namespace tly::test {

// A group of random counters; it has no provider.
inline tly_counter_group_t* random_counter_group(std::mt19937& random) {
  static char texts[][12] = {"", "a b", "\"\\/", "\n\t\x01\x7f", "\xc3\xa9\xf0\x9f\x98\x80"};
  const auto below = [&random](uint32_t limit) { return static_cast<uint32_t>(random() % limit); };
  const auto text = [&] { return texts[below(5)]; };
  const auto word = [&] { return below(2) == 0 ? below(3) * 8 : static_cast<uint32_t>(random()); };
  tly_counter_group_t* group = allocate_zeroed<tly_counter_group_t>().release();
  group->granularity = below(3);
  group->num_counter_sets = word();
  group->name = below(2) == 0 ? nullptr : strdup(text());
  group->provider_name = below(2) == 0 ? nullptr : strdup(text());
  for (uint32_t counters = below(6); counters > 0; --counters) {
    const bool hidden = below(2) == 0;
    const tly_counter_info_t counter{0,      text(), text(), text(), below(6), below(3),
                                     word(), word(), word(), hidden, !hidden};
    tly_add_counter_to_group(group, &counter);
  }
  return group;
}

// Appends up to three groups and lays the counters out.
inline void add_random_groups(tly_counters_schema_t* schema, std::mt19937& random) {
  for (auto groups = random() % 4; groups > 0; --groups) {
    tly_counters_schema_append_group(schema, random_counter_group(random));
  }
  tly_counters_schema_update_counter_offsets(schema);
}

}  // namespace tly::test
