// How schemas enter a type system's slots.
#pragma once

#include <cstddef>

#include "tallyra/type_system.h"

namespace tly {

bool has_free_slot(const tly_type_system_t* type_system) noexcept;

// Puts the schema, which then belongs to the type system, into the next slot, which must be free,
// and stores the slot's number through `index`, when given.
void store_schema(tly_type_system_t* type_system, tly_schema_t* schema, uint8_t* index) noexcept;

// The first slot whose schema has the id; num_schemas when there is none.
std::size_t find_schema_slot(const tly_type_system_t* type_system,
                             const tly_schema_id_t& id) noexcept;

}  // namespace tly
