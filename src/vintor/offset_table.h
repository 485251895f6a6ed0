// Which value goes to which offset of the values area.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "tallyra/counter_data.h"
#include "vintor/value_map.h"

namespace vintor::collector {

class OffsetTable {
 public:
  OffsetTable() = default;
  OffsetTable(const OffsetTable&) = delete;
  OffsetTable& operator=(const OffsetTable&) = delete;

  // Registers counters by their offsets; one at an offset in use takes it over. Null entries and
  // nameless counters are passed over. When memory runs out some may be registered.
  void add(std::span<tly_counter_info_t* const> counters);

  // Writes 8 bytes per counter at its offset, which may be unaligned: the value of the name that is
  // registered there or, without one, the pattern of no value. Allocates nothing. The first call
  // with other names looks up all that is registered.
  void copy_values(std::span<tly_counter_info_t* const> counters, const ValueMap& values,
                   char* area);

 private:
  struct Place {
    std::uint32_t offset;
    std::uint32_t position;  // of its value in samples with the resolved names
  };

  void set_place(Place place);
  void resolve(const std::shared_ptr<const ValueNames>& names);

  std::map<std::uint32_t, std::string> names_;  // by offset
  std::vector<Place> places_;                   // by offset, once resolved; has room for all
  std::shared_ptr<const ValueNames> resolved_;  // null before the first read
};

}  // namespace vintor::collector
