// Events records, as a data serializer holds them.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "tallyra/type_system.h"

namespace tly::agent {

struct Event {
  std::uint64_t timestamp_us;  // since the Unix epoch
  const tly_type_definition_t* type;
  const std::uint8_t* bytes;  // of the type's size
};

// Visits the events of the records one after another. False, after the events before it, when a
// record is cut off or of a type that the type system does not hold.
bool for_each_event(const tly_type_system_t& type_system, std::span<const std::uint8_t> records,
                    const std::function<void(const Event&)>& visit);

}  // namespace tly::agent
