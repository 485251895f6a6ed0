// Name tables of enumerations that have no exported lookup in both directions.
#pragma once

#include "tallyra/string_utils.h"

namespace tly {

extern const tly_pair_t kCountingTypes[];

}  // namespace tly
