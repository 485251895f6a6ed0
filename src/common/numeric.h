// Conversions from double to integers that are defined for every input.
#pragma once

#include <cmath>
#include <concepts>
#include <limits>

namespace tly {

// Truncates toward zero; values beyond the range give its nearest end, NaN gives 0.
template <std::integral T>
T saturate_to(double value) noexcept {
  using Limits = std::numeric_limits<T>;
  if (std::isnan(value)) {
    return 0;
  }
  // 2^digits is exact in a double, unlike the maximum of a 64-bit type.
  if (value >= std::ldexp(1.0, Limits::digits)) {
    return Limits::max();
  }
  if (value <= static_cast<double>(Limits::min())) {
    return Limits::min();
  }
  return static_cast<T>(value);
}

}  // namespace tly
