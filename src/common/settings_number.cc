#include "common/settings_number.h"

#include <cstdlib>
#include <limits>

#include "tallyra/settings.h"

namespace tly {

std::optional<std::int32_t> parse_leading_int32(const char* text) noexcept {
  using Limits = std::numeric_limits<std::int32_t>;
  char* end = nullptr;
  // What does not even fit here comes back as the nearest limit, which is out of range below.
  const long long number = std::strtoll(text, &end, 10);
  if (end == text || number < Limits::min() || number > Limits::max()) {
    return std::nullopt;
  }
  return static_cast<std::int32_t>(number);
}

std::int32_t setting_as_int32(const char* name, std::int32_t default_value) noexcept {
  const char* const value = tly_getenv(name);
  return value != nullptr ? parse_leading_int32(value).value_or(default_value) : default_value;
}

}  // namespace tly
