#include "session.h"

#include <algorithm>
#include <cstring>

#include "refusal.h"
#include "value_format.h"

namespace tly::agent {
namespace {

// What every byte of the values area is filled with before a read. A read that has nothing to give
// leaves it in place. Eight of them are no number that a counter comes to: neither small nor the
// pattern of a missing value.
constexpr unsigned char kUntouched = 0xF5;

// A new sample may arrive between the reads of two groups, but not at every attempt.
constexpr int kMostAttempts = 5;

std::size_t slots_for(std::size_t size) {
  return (size + sizeof(tly_counter_value_t) - 1) / sizeof(tly_counter_value_t);
}

bool are_equal(const Values& a, const Values& b) {
  return std::memcmp(a.data(), b.data(), a.size() * sizeof(tly_counter_value_t)) == 0;
}

}  // namespace

void Session::StopGroup::operator()(tly_counter_group_t* group) const {
  plugin->tly_stop_counting_group(group);
}

Session::Session(const Plugin& plugin, tly_provider_t& provider, const Selection& selection)
    : selection_(selection),
      schema_(plugin, provider, selection),
      values_(slots_for(schema_.area_size())),
      repeated_values_(values_.size()) {
  for (std::size_t i = 0; i < selection.components.size(); ++i) {
    tly_counter_group_t& group = schema_.group(i);
    if (!plugin.tly_start_counting_group(&group)) {
      throw refusal(*selection.components[i].component, "start the counter group");
    }
    groups_.emplace_back(&group, StopGroup{&plugin});
  }
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
  std::memset(values.data(), kUntouched, values.size() * sizeof(tly_counter_value_t));
  for (std::size_t i = 0; i < groups_.size(); ++i) {
    tly_counter_group_t* const group = groups_[i].get();
    const SelectedComponent& selected = selection_.components[i];
    if (!group->read_callback(group, values.data())) {
      throw refusal(*selected.component, "read the counter group");
    }
    if (is_untouched(values, selected)) {
      return false;
    }
  }
  return true;
}

bool Session::is_untouched(const Values& values, const SelectedComponent& selected) const {
  return std::all_of(
      selected.counters.begin(), selected.counters.end(), [&](const SelectedCounter& counter) {
        const auto* const value = static_cast<const unsigned char*>(value_in(values, counter));
        return std::all_of(value, value + value_size(*counter.info),
                           [](unsigned char byte) { return byte == kUntouched; });
      });
}

}  // namespace tly::agent
