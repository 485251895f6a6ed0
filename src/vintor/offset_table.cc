#include "vintor/offset_table.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vintor::collector {

void OffsetTable::add(std::span<tly_counter_info_t* const> counters) {
  const std::size_t most_places = names_.size() + counters.size();
  if (places_.capacity() < most_places) {
    places_.reserve(std::max(most_places, 2 * places_.capacity()));
  }
  for (const tly_counter_info_t* counter : counters) {
    if (counter != nullptr && counter->name != nullptr) {
      names_[counter->offset] = counter->name;
      if (resolved_ != nullptr) {
        set_place({counter->offset, resolved_->find(counter->name)});
      }
    }
  }
}

void OffsetTable::set_place(Place place) {
  const auto at = std::ranges::lower_bound(places_, place.offset, {}, &Place::offset);
  if (at != places_.end() && at->offset == place.offset) {
    *at = place;
  } else {
    places_.insert(at, place);
  }
}

void OffsetTable::resolve(const std::shared_ptr<const ValueNames>& names) {
  places_.clear();
  for (const auto& [offset, name] : names_) {
    places_.push_back({offset, names->find(name)});
  }
  resolved_ = names;
}

void OffsetTable::copy_values(std::span<tly_counter_info_t* const> counters, const ValueMap& values,
                              char* area) {
  if (resolved_ != values.names()) {
    resolve(values.names());
  }
  auto place = places_.cbegin();
  for (const tly_counter_info_t* counter : counters) {
    if (counter == nullptr) {
      continue;
    }
    // Counters mostly come in the order of their offsets.
    if (place == places_.cend() || place->offset != counter->offset) {
      place = std::ranges::lower_bound(std::as_const(places_), counter->offset, {}, &Place::offset);
    }
    tly_counter_value_t value{.u64 = counter->data_type == TLY_DATA_TYPE_UINT64 ? UINT64_MAX : 0};
    if (place != places_.cend() && place->offset == counter->offset) {
      if (place->position != ValueNames::kNowhere) {
        value = values.at(place->position);
      }
      ++place;
    }
    std::memcpy(area + counter->offset, &value, sizeof value);
  }
}

}  // namespace vintor::collector
