#include "vintor/value_map.h"

#include <bit>
#include <functional>
#include <stdexcept>
#include <utility>

#include "common/numeric.h"

namespace vintor::collector {
namespace {

constexpr std::size_t kMaxTextBytes = UINT32_MAX;

}  // namespace

ValueNames::ValueNames(const ValueNames& others, std::size_t count, std::size_t text_bytes)
    : ends_(others.ends_.begin(), others.ends_.begin() + static_cast<std::ptrdiff_t>(count)) {
  texts_.reserve(text_bytes);
  texts_.append(others.texts_, 0, count > 0 ? others.ends_[count - 1] : 0);
}

// Where in the table the name's position stands, or is to be put.
std::size_t ValueNames::slot_of(std::string_view name) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = std::hash<std::string_view>()(name) & mask;
  while (slots_[slot] != kNowhere && at(slots_[slot]) != name) {
    slot = (slot + 1) & mask;
  }
  return slot;
}

std::uint32_t ValueNames::find(std::string_view name) const { return slots_[slot_of(name)]; }

void ValueNames::append(const NameParts& parts) {
  const std::size_t end =
      texts_.size() + parts.section.size() + 1 + parts.instance.size() + 1 + parts.counter.size();
  if (end > kMaxTextBytes) {
    throw std::length_error("the names of a sample are too long");
  }
  append_name(texts_, parts);
  ends_.push_back(static_cast<std::uint32_t>(end));
}

void ValueNames::make_index() {
  texts_.shrink_to_fit();
  ends_.shrink_to_fit();
  slots_.assign(std::bit_ceil(2 * size() + 1), kNowhere);
  for (std::size_t position = 0; position < size(); ++position) {
    slots_[slot_of(at(position))] = static_cast<std::uint32_t>(position);
  }
}

ValueMapBuilder::ValueMapBuilder(std::shared_ptr<const ValueNames> expected, std::size_t text_bytes)
    : expected_(std::move(expected)), text_bytes_(text_bytes) {
  if (expected_ == nullptr) {
    expected_ = std::make_shared<ValueNames>();
    depart_from_expected();
  }
  values_.reserve(expected_->size());
}

void ValueMapBuilder::add(const NameParts& parts, double value) {
  if (parts.section != section_) {
    section_ = parts.section;
    section_is_unsigned_ = component_is_unsigned(section_);
  }
  if (is_as_expected() && !expected_->is_at(values_.size(), parts)) {
    depart_from_expected();
  }
  if (!is_as_expected()) {
    names_->append(parts);
  }
  tly_counter_value_t& stored = values_.emplace_back();
  if (section_is_unsigned_ && may_be_unsigned(parts.counter)) {
    stored.u64 = tly::saturate_to<std::uint64_t>(value);
  } else {
    stored.fp64 = value;
  }
}

std::unique_ptr<ValueMap> ValueMapBuilder::finish() {
  if (is_as_expected() && values_.size() < expected_->size()) {
    depart_from_expected();
  }
  if (is_as_expected()) {
    return std::make_unique<ValueMap>(std::move(expected_), std::move(values_));
  }
  names_->make_index();
  return std::make_unique<ValueMap>(std::move(names_), std::move(values_));
}

void ValueMapBuilder::depart_from_expected() {
  names_ = std::make_shared<ValueNames>(*expected_, values_.size(), text_bytes_);
}

}  // namespace vintor::collector
