#include "host/session.h"

#include <algorithm>

#include "common/duration.h"
#include "common/watchdog.h"
#include "host/refusal.h"

namespace tly::agent {
namespace {

// What every byte of the values area is filled with before a read. A read that has nothing to give
// leaves it in place. Eight of them are no number that a counter comes to: neither small nor the
// pattern of a missing value.
constexpr unsigned char kUntouched = 0xF5;

// A new sample may arrive between the reads of two groups, but not in each of so many passes.
constexpr int kMostPasses = 10;

std::span<unsigned char> part_of(std::vector<unsigned char>& area, const SourceGroups& groups) {
  return {area.data() + groups.first_byte, groups.end_byte - groups.first_byte};
}

}  // namespace

void Session::StopGroup::operator()(tly_counter_group_t* group) const {
  plugin->tly_stop_counting_group(group);
}

Session::Session(const Plugin& plugin, const Selection& selection, std::chrono::nanoseconds timeout)
    : selection_(selection),
      schema_(plugin, selection),
      timeout_(timeout),
      has_values_(selection.sources.size()),
      area_(schema_.area_size()),
      new_area_(area_.size()),
      previous_area_(area_.size()) {
  for (std::uint32_t i = 0; i < schema_.record().num_groups; ++i) {
    tly_counter_group_t& group = schema_.group(i);
    if (!plugin.tly_start_counting_group(&group)) {
      throw refusal(*group.component, "start the counter group");
    }
    groups_.emplace_back(&group, StopGroup{&plugin});
  }
}

bool Session::read_local() {
  if (has_local() && fetch(0)) {
    take(0);
  }
  return !has_local() || has_values_[0];
}

bool Session::read_remote() {
  bool have_values = true;
  for (std::size_t i = has_local() ? 1 : 0; i < selection_.sources.size(); ++i) {
    const std::string& name = selection_.sources[i].name;
    const Watchdog watchdog(timeout_, static_cast<int>(ExitCode::kNoSample),
                            name + " did not answer within " + duration_text(timeout_),
                            "see whether what the remote-executor client reaches answers, or wait "
                            "longer with --timeout");
    if (fetch(i)) {
      take(i);
    }
    have_values = has_values_[i] && have_values;
  }
  return have_values;
}

bool Session::fetch(std::size_t source) {
  return selection_.sources[source].is_remote ? read_groups(source, new_area_)
                                              : has_whole_sample(source);
}

bool Session::take(std::size_t source) {
  const SourceGroups& groups = schema_.sources()[source];
  const std::span<unsigned char> shown = part_of(area_, groups);
  const std::span<unsigned char> fetched = part_of(new_area_, groups);
  const bool is_new = !has_values_[source] || !std::ranges::equal(shown, fetched);
  std::ranges::copy(fetched, shown.begin());
  has_values_[source] = true;
  return is_new;
}

std::vector<std::string> Session::sources_without_values() const {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < selection_.sources.size(); ++i) {
    if (!has_values_[i]) {
      names.push_back(selection_.sources[i].name);
    }
  }
  return names;
}

std::span<const unsigned char> Session::paced_values() const {
  return {area_.data(), has_local() ? schema_.sources().front().end_byte : area_.size()};
}

// Groups are read one after another: only two equal passes are known to be of one sample.
bool Session::has_whole_sample(std::size_t source) {
  const SourceGroups& groups = schema_.sources()[source];
  const std::span<unsigned char> latest = part_of(new_area_, groups);
  const std::span<unsigned char> previous = part_of(previous_area_, groups);
  for (int pass = 0; pass < kMostPasses && read_groups(source, new_area_); ++pass) {
    if (groups.end_group - groups.first_group == 1 ||
        (pass > 0 && std::ranges::equal(latest, previous))) {
      return true;
    }
    std::ranges::copy(latest, previous.begin());
  }
  return false;
}

// Reads all groups of the source, in order. False when one of them has nothing to give.
bool Session::read_groups(std::size_t source, Area& area) const {
  const SourceGroups& groups = schema_.sources()[source];
  std::ranges::fill(part_of(area, groups), kUntouched);
  bool is_complete = true;
  for (std::size_t i = groups.first_group; i < groups.end_group; ++i) {
    tly_counter_group_t* const group = groups_[i].get();
    const bool is_read =
        group->read_callback(group, reinterpret_cast<tly_counter_value_t*>(area.data()));
    if (!is_read && !selection_.sources[source].is_remote) {
      throw refusal(*group->component, "read the counter group");
    }
    const bool has_nothing_new = is_read && is_untouched(*group, area);
    is_complete = is_complete && is_read && !has_nothing_new;
    // Once there are remote values the last group has to be read, too: it lets go of them.
    if (has_nothing_new && i == groups.first_group) {
      break;
    }
  }
  return is_complete;
}

bool Session::is_untouched(const tly_counter_group_t& group, const Area& area) {
  if (group.num_counters == 0) {
    return false;
  }
  const tly_counter_info_t& last = *group.counters[group.num_counters - 1];
  const auto begin = area.begin() + group.counters[0]->offset;
  const auto end = area.begin() + last.offset + last.length;
  return std::all_of(begin, end, [](unsigned char byte) { return byte == kUntouched; });
}

}  // namespace tly::agent
