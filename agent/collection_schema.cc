#include "collection_schema.h"

#include <algorithm>
#include <limits>
#include <new>
#include <string>

#include "failure.h"
#include "refusal.h"

namespace tly::agent {
namespace {

constexpr std::uint32_t kNumberLength = sizeof(tly_counter_value_t);

struct DestroyGroup {
  const Plugin* plugin;
  void operator()(tly_counter_group_t* group) const { plugin->tly_destroy_counter_group(group); }
};

// The bytes that the library's layout gives to the counter's value. Throws Failure when the value
// needs more: the next one would overwrite it.
std::uint32_t length_in_layout(const tly_counter_info_t& counter) {
  const bool is_string = counter.data_type == TLY_DATA_TYPE_STRING;
  const std::uint32_t length = counter.length == 0 && !is_string ? kNumberLength : counter.length;
  if (length < (is_string ? 1 : kNumberLength)) {
    throw Failure(ExitCode::kFailure,
                  std::string("the value of counter ") +
                      (counter.name != nullptr ? counter.name : "(no name)") +
                      " has no room in the " + std::to_string(length) + " bytes it is given",
                  "leave that counter out with --counter patterns for the others");
  }
  return length;
}

}  // namespace

void CollectionSchema::DestroySchema::operator()(tly_counters_schema_t* schema) const {
  plugin->tly_destroy_counters_schema(schema);
}

CollectionSchema::CollectionSchema(const Plugin& plugin, tly_provider_t& provider,
                                   const Selection& selection)
    : plugin_(plugin), record_(plugin.tly_create_counters_schema(), DestroySchema{&plugin}) {
  if (!record_) {
    throw std::bad_alloc();
  }
  for (const SelectedComponent& component : selection.components) {
    append_group(provider, component);
  }
  lay_out();
}

void CollectionSchema::append_group(tly_provider_t& provider, const SelectedComponent& selected) {
  const tly_component_t& component = *selected.component;
  std::unique_ptr<tly_counter_group_t, DestroyGroup> group(
      plugin_.tly_create_counter_group(&provider, &component), DestroyGroup{&plugin_});
  if (!group) {
    throw refusal(component, "create the counter group");
  }
  for (const SelectedCounter& counter : selected.counters) {
    if (!plugin_.tly_add_counter_to_group(group.get(), counter.info)) {
      throw refusal(component, "take a counter");
    }
  }
  if (!plugin_.tly_counters_schema_append_group(record_.get(), group.get())) {
    throw std::bad_alloc();
  }
  [[maybe_unused]] const tly_counter_group_t* const owned_by_schema = group.release();
}

void CollectionSchema::lay_out() {
  plugin_.tly_counters_schema_update_counter_offsets(record_.get());
  std::uint64_t end = 0;
  for (std::uint32_t i = 0; i < record_->num_groups; ++i) {
    const tly_counter_group_t& group = *record_->groups[i];
    for (std::uint32_t j = 0; j < group.num_counters; ++j) {
      const tly_counter_info_t& counter = *group.counters[j];
      end += length_in_layout(counter);
      offsets_.push_back(counter.offset);
    }
  }
  const std::uint64_t size =
      std::max(end, plugin_.tly_counters_schema_size_of_counters(record_.get()));
  if (size > std::numeric_limits<std::uint32_t>::max()) {
    throw Failure(ExitCode::kFailure, "the values of all counters are too large for one buffer",
                  "select fewer counters with --counter");
  }
  area_size_ = size;
}

}  // namespace tly::agent
