#include "tallyra/counter_group.h"

#include <cstdlib>
#include <cstring>

#include "common/log.h"
#include "common/numeric.h"
#include "common/owned.h"
#include "common/pointer_array.h"
#include "common/printable.h"
#include "counters/counter_decoding.h"
#include "counters/group_name.h"
#include "counters/guarded_free.h"
#include "encoding/json_builder.h"

namespace {

using tly::Owned;

constexpr const char* kSourceName = "counter_group";

// Asks the provider, if there is one, to take the counter and count it.
bool count_counter(tly_counter_group_t* group, const tly_counter_info_t* counter) {
  if (group->provider == nullptr) {
    ++group->num_counters;
    return true;
  }
  const auto add_counter = group->provider->counter_group_add_counter;
  const uint32_t expected = group->num_counters + 1;
  if (add_counter == nullptr || !add_counter(group, counter)) {
    return false;
  }
  if (group->num_counters != expected) {
    TLY_LOG_ERROR("[%s] Provider %s accepted a counter but counts %u counters instead of %u",
                  "tly_add_counter_to_group", tly::printable(group->provider->name),
                  group->num_counters, expected);
    return false;
  }
  return true;
}

// Decodes the elements into the group; what was decoded before a failure stays in it.
bool decode_counters(const JSON_Array* elements, tly::CounterTemplates& templates,
                     tly_counter_group_t* group) noexcept {
  const std::size_t count = json_array_get_count(elements);
  group->counters = static_cast<tly_counter_info_t**>(
      std::calloc(count > 0 ? count : 1, sizeof(tly_counter_info_t*)));
  if (group->counters == nullptr) {
    return false;
  }
  for (std::size_t index = 0; index < count; ++index) {
    tly_counter_info_t* counter =
        tly::decode_counter(json_array_get_value(elements, index), templates);
    if (counter == nullptr) {
      return false;
    }
    group->counters[group->num_counters++] = counter;
  }
  return true;
}

}  // namespace

tly_counter_group_t* tly_create_counter_group(tly_provider_t* provider,
                                              const tly_component_t* component) {
  if (provider == nullptr || component == nullptr || provider->counter_group_create == nullptr) {
    return nullptr;
  }
  Owned<tly_counter_group_t, &tly_destroy_counter_group> group(
      provider->counter_group_create(component));
  if (group == nullptr) {
    return nullptr;
  }
  group->provider = provider;
  group->component = component;
  group->read_callback = provider->counter_group_read;
  group->component_id = component->id;
  if (!tly::duplicate_text(component->name, &group->name) ||
      !tly::duplicate_text(provider->name, &group->provider_name)) {
    return nullptr;
  }
  return group.release();
}

bool tly_add_counter_to_group(tly_counter_group_t* group, const tly_counter_info_t* counter) {
  if (group == nullptr || counter == nullptr) {
    return false;
  }
  const uint32_t present = group->num_counters;
  if (!tly::grow_by_one(group->counters, group->num_counters)) {
    TLY_LOG_ERROR("Failed to allocate array of %d counter pointers", static_cast<int>(present + 1));
    return false;
  }
  group->counters[present] = nullptr;  // for a provider that looks
  // Whatever fails from here on, the group counts only entries that hold a counter.
  if (!count_counter(group, counter)) {
    group->num_counters = present;
    return false;
  }
  tly_counter_info_t* copy = tly_counter_info_deep_copy(counter);
  if (copy == nullptr) {
    TLY_LOG_ERROR("Deep copy of the counter failed");
    group->num_counters = present;
    return false;
  }
  group->counters[present] = copy;
  return true;
}

void tly_destroy_counter_group(tly_counter_group_t* group) {
  if (group == nullptr) {
    return;
  }
  if (group->provider != nullptr && group->provider->counter_group_destroy != nullptr) {
    group->provider->counter_group_destroy(group);
  } else {
    tly_free_counter_group(group);
  }
}

void tly_free_counter_group(tly_counter_group_t* group) {
  if (group == nullptr) {
    return;
  }
  if (group->counters != nullptr) {
    for (std::size_t index = 0; index < group->num_counters; ++index) {
      tly_destroy_counter_info(group->counters[index]);
      TLY_GUARDED_FREE(group->counters[index]);
    }
  }
  std::free(group->name);
  std::free(group->provider_name);
  std::free(group->counters);
  std::free(group);
}

bool tly_start_counting_group(tly_counter_group_t* group) {
  if (group == nullptr || group->provider == nullptr ||
      group->provider->counter_group_start == nullptr) {
    return false;
  }
  return group->provider->counter_group_start(group);
}

bool tly_stop_counting_group(tly_counter_group_t* group) {
  if (group == nullptr || group->provider == nullptr ||
      group->provider->counter_group_stop == nullptr) {
    return false;
  }
  return group->provider->counter_group_stop(group, nullptr);
}

JSON_Value* tly_counter_group_jsonify(const tly_counter_group_t* group) {
  if (group == nullptr) {
    return nullptr;
  }
  tly::JsonObjectBuilder object;
  object.set_text("granularity", tly_granularity_string(group->granularity));
  object.set_text("name", tly::group_name(group));
  object.set_text("provider", group->provider_name);
  object.set_number("num_counter_sets", group->num_counter_sets);
  object.set_number("num_counters", group->num_counters);
  object.set_value("counters", tly::make_json_array(group->num_counters, [group](auto index) {
                     return tly_counter_info_jsonify(group->counters[index]);
                   }));
  return object.release();
}

tly_counter_group_t* tly_counter_group_from_json(const JSON_Value* value) {
  tly::CounterTemplates templates;
  return tly::decode_counter_group(value, templates);
}

tly_counter_group_t* tly::decode_counter_group(const JSON_Value* value,
                                               CounterTemplates& templates) noexcept {
  if (!templates.group.matches(value)) {
    return nullptr;
  }
  Owned<tly_counter_group_t, &tly_free_counter_group> group(
      tly::allocate_zeroed<tly_counter_group_t>().release());
  if (group == nullptr) {
    return nullptr;
  }
  const JSON_Object* object = json_value_get_object(value);
  group->num_counter_sets =
      tly::saturate_to<uint32_t>(json_object_get_number(object, "num_counter_sets"));
  group->granularity = tly_granularity_from_string(json_object_get_string(object, "granularity"));
  if (!tly::duplicate_text(json_object_get_string(object, "name"), &group->name) ||
      !tly::duplicate_text(json_object_get_string(object, "provider"), &group->provider_name) ||
      !decode_counters(json_object_get_array(object, "counters"), templates, group.get())) {
    return nullptr;
  }
  return group.release();
}
