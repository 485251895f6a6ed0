#include "vintor/offset_table.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace vintor::collector {

void OffsetTable::add(std::span<tly_counter_info_t* const> counters) {
  std::vector<Entry> added;
  added.reserve(counters.size());
  for (const tly_counter_info_t* counter : counters) {
    if (counter != nullptr && counter->name != nullptr) {
      added.push_back({counter->offset, ValueNames::kNowhere, counter->name});
    }
  }
  entries_.insert(entries_.end(), std::move_iterator(added.begin()),
                  std::move_iterator(added.end()));
  resolved_.reset();
  if (std::ranges::is_sorted(entries_, std::ranges::less_equal(), &Entry::offset)) {
    return;
  }
  std::ranges::stable_sort(entries_, {}, &Entry::offset);
  // Of several entries with one offset the last is the newest.
  const auto have_one_offset = [](const Entry& a, const Entry& b) { return a.offset == b.offset; };
  const auto older = std::unique(entries_.rbegin(), entries_.rend(), have_one_offset);
  entries_.erase(entries_.begin(), older.base());
}

void OffsetTable::resolve(const std::shared_ptr<const ValueNames>& names) {
  for (Entry& entry : entries_) {
    entry.position = names->find(entry.name);
  }
  resolved_ = names;
}

void OffsetTable::copy_values(std::span<tly_counter_info_t* const> counters, const ValueMap& values,
                              char* area) {
  if (resolved_ != values.names()) {
    resolve(values.names());
  }
  auto entry = entries_.cbegin();
  for (const tly_counter_info_t* counter : counters) {
    if (counter == nullptr) {
      continue;
    }
    // Counters mostly come in the order of their offsets.
    if (entry == entries_.cend() || entry->offset != counter->offset) {
      entry =
          std::ranges::lower_bound(std::as_const(entries_), counter->offset, {}, &Entry::offset);
    }
    tly_counter_value_t value{.u64 = counter->data_type == TLY_DATA_TYPE_UINT64 ? UINT64_MAX : 0};
    if (entry != entries_.cend() && entry->offset == counter->offset) {
      if (entry->position != ValueNames::kNowhere) {
        value = values.at(entry->position);
      }
      ++entry;
    }
    std::memcpy(area + counter->offset, &value, sizeof value);
  }
}

}  // namespace vintor::collector
