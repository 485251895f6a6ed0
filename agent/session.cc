#include "session.h"

#include <algorithm>
#include <cstring>

#include "failure.h"

namespace tly::agent {
namespace {

// What the values area is filled with before a read: a NaN that no arithmetic yields. A read that
// has nothing to give leaves it in place.
constexpr std::uint64_t kUntouched = 0x7FF9'5A6E'746F'7563U;

// A new sample may arrive between the reads of two groups, but not at every attempt.
constexpr int kMostAttempts = 5;

bool are_equal(const Values& a, const Values& b) {
  return std::memcmp(a.data(), b.data(), a.size() * sizeof(tly_counter_value_t)) == 0;
}

Failure refusal(const tly_component_t& component, const char* what) {
  return {ExitCode::kFailure,
          std::string("the provider does not ") + what + " of component " +
              (component.name != nullptr ? component.name : "(no name)"),
          "run this command again with --log-level debug to see why"};
}

}  // namespace

void Session::CloseGroup::operator()(tly_counter_group_t* group) const {
  plugin->tly_stop_counting_group(group);
  plugin->tly_destroy_counter_group(group);
}

Session::Session(const Plugin& plugin, tly_provider_t& provider, const Selection& selection)
    : plugin_(plugin),
      selection_(selection),
      values_(selection.value_slots),
      repeated_values_(selection.value_slots) {
  for (const SelectedComponent& component : selection.components) {
    groups_.push_back(open_group(component, provider));
  }
}

Session::Group Session::open_group(const SelectedComponent& selected,
                                   tly_provider_t& provider) const {
  const tly_component_t& component = *selected.component;
  Group group(plugin_.tly_create_counter_group(&provider, &component), CloseGroup{&plugin_});
  if (!group) {
    throw refusal(component, "create the counter group");
  }
  for (const SelectedCounter& counter : selected.counters) {
    if (!plugin_.tly_add_counter_to_group(group.get(), counter.info)) {
      throw refusal(component, "take a counter");
    }
    group->counters[group->num_counters - 1]->offset = counter.offset;
  }
  if (!plugin_.tly_start_counting_group(group.get())) {
    throw refusal(component, "start the counter group");
  }
  return group;
}

bool Session::read() {
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    if (!read_once(values_)) {
      return false;
    }
    // Groups are read one after another: only two equal passes are known to be of one sample.
    if (groups_.size() == 1 ||
        (read_once(repeated_values_) && are_equal(values_, repeated_values_))) {
      return true;
    }
  }
  return true;
}

bool Session::read_once(Values& values) const {
  std::fill(values.begin(), values.end(), tly_counter_value_t{.u64 = kUntouched});
  for (std::size_t i = 0; i < groups_.size(); ++i) {
    tly_counter_group_t* const group = groups_[i].get();
    const SelectedComponent& selected = selection_.components[i];
    if (!group->read_callback(group, values.data())) {
      throw refusal(*selected.component, "read the counter group");
    }
    const auto is_untouched = [&](const SelectedCounter& counter) {
      return values[counter.offset / sizeof(tly_counter_value_t)].u64 == kUntouched;
    };
    if (std::all_of(selected.counters.begin(), selected.counters.end(), is_untouched)) {
      return false;
    }
  }
  return true;
}

}  // namespace tly::agent
