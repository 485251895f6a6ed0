// Reading schemas from JSON.
#pragma once

#include "types/owned_types.h"

namespace tly {

// What the file holds, as tly_schema_from_json() gives it; null, with a message, when it cannot be
// read.
SchemaPtr read_schema_file(const char* path) noexcept;

}  // namespace tly
