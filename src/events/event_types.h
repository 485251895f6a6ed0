// Looks up the record types of events.
#pragma once

#include <cstdint>

#include "tallyra/type_system.h"

namespace tly {

// The letter in the magic value of an events record.
inline constexpr char kEventsRecordType = 'E';

// The schema in a slot of the type system, or null: indexes come from outside and are checked.
const tly_schema_t* find_event_schema(const tly_type_system_t* type_system,
                                      std::uint8_t schema_index) noexcept;

// The size in bytes of one event of the type; 0 when there is no such type.
std::uint64_t event_size(const tly_type_system_t* type_system, std::uint8_t schema_index,
                         std::uint8_t type_index) noexcept;

}  // namespace tly
