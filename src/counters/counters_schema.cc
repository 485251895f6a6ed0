#include "tallyra/counters_schema.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "common/log.h"
#include "common/owned.h"
#include "common/pointer_array.h"
#include "common/printable.h"

namespace {

constexpr uint32_t kNumericSize = 8;

bool is_string(const tly_counter_info_t& counter) noexcept {
  return counter.data_type == TLY_DATA_TYPE_STRING;
}

// Calls visit(counter) for every counter, in group order and then counter order, until one call
// returns false.
template <typename Visit>
void for_each_counter(const tly_counters_schema_t* schema, Visit visit) noexcept {
  for (std::size_t index = 0; index < schema->num_groups; ++index) {
    const tly_counter_group_t* group = schema->groups[index];
    for (std::size_t position = 0; position < group->num_counters; ++position) {
      if (!visit(*group->counters[position])) {
        return;
      }
    }
  }
}

}  // namespace

tly_counters_schema_t* tly_create_counters_schema(void) {
  tly_counters_schema_t* schema = tly::allocate_zeroed<tly_counters_schema_t>().release();
  if (schema == nullptr) {
    const int reason = errno;
    TLY_LOG_ERROR("failed to allocate schema");
    errno = reason;
  }
  return schema;
}

void tly_destroy_counters_schema(tly_counters_schema_t* schema) {
  if (schema == nullptr) {
    return;
  }
  for (std::size_t index = 0; index < schema->num_groups; ++index) {
    tly_destroy_counter_group(schema->groups[index]);
  }
  std::free(schema->groups);
  std::free(schema);
}

bool tly_counters_schema_append_group(tly_counters_schema_t* schema, tly_counter_group_t* group) {
  if (schema == nullptr || group == nullptr) {
    return false;
  }
  errno = ENOMEM;
  if (!tly::grow_by_one(schema->groups, schema->num_groups)) {
    const int reason = errno;
    TLY_LOG_ERROR("Failed allocating memory for %d's group: %s",
                  static_cast<int>(schema->num_groups + 1), std::strerror(reason));
    return false;
  }
  schema->groups[schema->num_groups++] = group;
  return true;
}

void tly_counters_schema_update_counter_offsets(tly_counters_schema_t* schema) {
  if (schema == nullptr) {
    return;
  }
  uint32_t offset = 0;
  for_each_counter(schema, [&offset](tly_counter_info_t& counter) {
    if (is_string(counter) && counter.length == 0) {
      TLY_LOG_ERROR("[%s] Fail: received 0 length string counter %s",
                    "tly_counters_schema_update_counter_offsets", tly::printable(counter.name));
      return false;
    }
    counter.offset = offset;
    TLY_LOG_DEBUG("[schema] Set up counter %s  size=%d  offset=%d", tly::printable(counter.name),
                  static_cast<int>(counter.length), static_cast<int>(counter.offset));
    offset += counter.length != 0 ? counter.length : kNumericSize;
    return true;
  });
}

uint64_t tly_counters_schema_size_of_counters(const tly_counters_schema_t* schema) {
  constexpr const char* kFunction = "tly_counters_schema_size_of_counters";
  if (schema == nullptr) {
    return 0;
  }
  uint64_t size = 0;
  for (std::size_t index = 0; index < schema->num_groups; ++index) {
    const tly_counter_group_t* group = schema->groups[index];
    TLY_LOG_DEBUG("%s group %s has %d counter sets", kFunction, tly::printable(group->name),
                  static_cast<int>(group->num_counter_sets));
    for (std::size_t position = 0; position < group->num_counters; ++position) {
      const tly_counter_info_t& counter = *group->counters[position];
      size += is_string(counter) ? counter.length : kNumericSize;
    }
  }
  TLY_LOG_DEBUG("%s returning %d d", kFunction, static_cast<int>(size));
  return size;
}

uint64_t tly_counters_schema_number_of_counters(const tly_counters_schema_t* schema) {
  if (schema == nullptr) {
    return 0;
  }
  uint64_t number = 0;
  for (std::size_t index = 0; index < schema->num_groups; ++index) {
    const tly_counter_group_t* group = schema->groups[index];
    if (group->num_counter_sets != 1) {
      TLY_LOG_ERROR("[%s] num_counter_sets should be 1, not %d",
                    "tly_counters_schema_number_of_counters",
                    static_cast<int>(group->num_counter_sets));
      return 0;
    }
    number += group->num_counters;
  }
  return number;
}

uint64_t tly_counters_schema_total_number_of_counters(const tly_counters_schema_t* schema) {
  if (schema == nullptr) {
    return 0;
  }
  uint64_t number = 0;
  for (std::size_t index = 0; index < schema->num_groups; ++index) {
    const tly_counter_group_t* group = schema->groups[index];
    const uint32_t of_all_sets = group->num_counter_sets * group->num_counters;
    number += of_all_sets;
  }
  return number;
}

tly_counter_info_t* tly_counters_schema_get_counter_by_name(const tly_counters_schema_t* schema,
                                                            const char* name) {
  if (schema == nullptr || name == nullptr) {
    return nullptr;
  }
  tly_counter_info_t* found = nullptr;
  for_each_counter(schema, [name, &found](tly_counter_info_t& counter) {
    if (counter.name == nullptr || std::strcmp(counter.name, name) != 0) {
      return true;
    }
    found = &counter;
    return false;
  });
  return found;
}
