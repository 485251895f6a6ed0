// The values of one sample, by counter name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tallyra/counter_data.h"
#include "vintor/value_rules.h"

namespace vintor::collector {

// The names of a sample's values in the order of the tool's output. The tool prints the same ones
// each time, so that samples share them: only one with other names pays for texts and index.
class ValueNames {
 public:
  static constexpr std::uint32_t kNowhere = UINT32_MAX;

  ValueNames() = default;
  // Begins with the first names of others and makes room for texts of so many bytes in all.
  ValueNames(const ValueNames& others, std::size_t count, std::size_t text_bytes);

  std::size_t size() const { return ends_.size(); }
  std::string_view at(std::size_t position) const {
    const std::size_t begin = position > 0 ? ends_[position - 1] : 0;
    return std::string_view(texts_).substr(begin, ends_[position] - begin);
  }
  bool is_at(std::size_t position, const NameParts& parts) const {
    return position < size() && is_name_of(at(position), parts);
  }
  // Where the name stands, the last time if several times; kNowhere without. Needs the index, which
  // the names of a finished value map have.
  std::uint32_t find(std::string_view name) const;

  void append(const NameParts& parts);
  void make_index();

 private:
  std::size_t slot_of(std::string_view name) const;

  std::string texts_;
  std::vector<std::uint32_t> ends_;   // of each name in the texts
  std::vector<std::uint32_t> slots_;  // an open hash table of positions, at most half full
};

// The last of several values with one name counts.
class ValueMap {
 public:
  ValueMap(std::shared_ptr<const ValueNames> names, std::vector<tly_counter_value_t> values)
      : names_(std::move(names)), values_(std::move(values)) {}

  const std::shared_ptr<const ValueNames>& names() const { return names_; }
  const tly_counter_value_t& at(std::uint32_t position) const { return values_[position]; }

 private:
  std::shared_ptr<const ValueNames> names_;
  std::vector<tly_counter_value_t> values_;  // one for each name
};

// Takes the values of a sample in the order of the tool's output, to finish it once. Of no use
// after an exception.
class ValueMapBuilder {
 public:
  // Expects the names of the sample before, if there was one. For others it makes room for so many
  // bytes.
  ValueMapBuilder(std::shared_ptr<const ValueNames> expected, std::size_t text_bytes);

  void add(const NameParts& parts, double value);
  std::unique_ptr<ValueMap> finish();

 private:
  bool is_as_expected() const { return names_ == nullptr; }
  void depart_from_expected();

  std::shared_ptr<const ValueNames> expected_;
  std::size_t text_bytes_;
  std::shared_ptr<ValueNames> names_;  // as soon as they are others than expected
  std::vector<tly_counter_value_t> values_;
  std::string section_;  // whose type is known
  bool section_is_unsigned_ = false;
};

}  // namespace vintor::collector
