#include "host/collection_schema.h"

#include <algorithm>
#include <limits>
#include <new>
#include <string>

#include "common/failure.h"
#include "host/refusal.h"

namespace tly::agent {
namespace {

constexpr std::uint32_t kNumberLength = sizeof(tly_counter_value_t);
constexpr std::size_t kNotSelected = std::numeric_limits<std::size_t>::max();

// The bytes that the library's layout gives to the counter's value. Throws Failure when the value
// needs more: the next one would overwrite it.
std::uint32_t length_in_layout(const tly_counter_info_t& counter) {
  const bool is_string = counter.data_type == TLY_DATA_TYPE_STRING;
  if (counter.length < (is_string ? 1 : kNumberLength)) {
    throw Failure(
        ExitCode::kFailure,
        std::string("the value of counter ") +
            (counter.name != nullptr ? counter.name : "(no name)") + " has no room in the " +
            std::to_string(counter.length) + " bytes it is given",
        "leave that counter out with --counter patterns for the others; a remote one with "
        "its whole provider");
  }
  return counter.length;
}

}  // namespace

CollectionSchema::CollectionSchema(const Plugin& plugin, const Selection& selection)
    : plugin_(plugin),
      record_(required(plugin, plugin.tly_create_counters_schema())),
      offsets_(selection.counter_count) {
  for (std::size_t i = 0; i < selection.sources.size(); ++i) {
    const CounterSource& source = selection.sources[i];
    const std::size_t first_group = record_->num_groups;
    if (source.is_remote) {
      append_remote(*source.provider, selection);
    } else {
      append_local(*source.provider, selection, i);
    }
    sources_.push_back({first_group, record_->num_groups, 0, 0});
  }
  lay_out();
}

void CollectionSchema::append_local(tly_provider_t& provider, const Selection& selection,
                                    std::size_t source) {
  for (const SelectedComponent& selected : selection.components) {
    if (selected.source != source) {
      continue;
    }
    std::vector<Member> members;
    for (const SelectedCounter& counter : selected.counters) {
      members.push_back({counter.info, counter.position});
    }
    append_group(provider, *selected.component, members);
  }
}

// The group of the first component fetches the values of all, that of the last lets go of them, and
// each copies one range of bytes: none of them may be left out, nor may a counter.
void CollectionSchema::append_remote(tly_provider_t& provider, const Selection& selection) {
  for (std::uint16_t i = 0; i < provider.num_components; ++i) {
    const tly_component_t& component = *provider.components[i];
    std::vector<Member> members(static_cast<std::size_t>(component.num_counters));
    for (std::size_t j = 0; j < members.size(); ++j) {
      members[j] = {component.counters[j], kNotSelected};
    }
    const auto selected = std::find_if(
        selection.components.begin(), selection.components.end(),
        [&](const SelectedComponent& candidate) { return candidate.component == &component; });
    if (selected != selection.components.end()) {
      for (const SelectedCounter& counter : selected->counters) {
        members[counter.index].position = counter.position;
      }
    }
    append_group(provider, component, members);
  }
}

void CollectionSchema::append_group(tly_provider_t& provider, const tly_component_t& component,
                                    const std::vector<Member>& members) {
  CounterGroup group(plugin_.tly_create_counter_group(&provider, &component), Release{&plugin_});
  if (!group) {
    throw refusal(component, "create the counter group");
  }
  for (const Member& member : members) {
    if (!plugin_.tly_add_counter_to_group(group.get(), member.info)) {
      throw refusal(component, "take a counter");
    }
    // The layout takes a number's length of 0 for this one; remote values are copied by the length
    // that is there.
    tly_counter_info_t& copy = *group->counters[group->num_counters - 1];
    if (copy.length == 0 && copy.data_type != TLY_DATA_TYPE_STRING) {
      copy.length = kNumberLength;
    }
    positions_.push_back(member.position);
  }
  if (!plugin_.tly_counters_schema_append_group(record_.get(), group.get())) {
    throw std::bad_alloc();
  }
  [[maybe_unused]] const tly_counter_group_t* const owned_by_schema = group.release();
}

void CollectionSchema::lay_out() {
  plugin_.tly_counters_schema_update_counter_offsets(record_.get());
  std::uint64_t end = 0;
  std::size_t member = 0;
  for (SourceGroups& source : sources_) {
    source.first_byte = end;
    for (std::size_t i = source.first_group; i < source.end_group; ++i) {
      const tly_counter_group_t& group = *record_->groups[i];
      for (std::uint32_t j = 0; j < group.num_counters; ++j) {
        end += length_in_layout(*group.counters[j]);
        const std::size_t position = positions_[member++];
        if (position != kNotSelected) {
          offsets_[position] = group.counters[j]->offset;
        }
      }
    }
    source.end_byte = end;
  }
  if (end > std::numeric_limits<std::uint32_t>::max()) {
    throw Failure(ExitCode::kFailure, "the values of all counters are too large for one buffer",
                  "select fewer counters with --counter, or enable fewer providers");
  }
  area_size_ = end;
}

}  // namespace tly::agent
