// Ownership of JSON values.
#pragma once

#include "common/owned.h"
#include "tallyra/parson.h"

namespace tly {

using JsonPtr = Owned<JSON_Value, &json_value_free>;

}  // namespace tly
