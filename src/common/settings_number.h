// Numbers among the settings of the environment.
#pragma once

#include <cstdint>
#include <optional>

namespace tly {

// Reads a number as scanf's "%d" does: leading white space and a sign are accepted, text after the
// number is ignored. Nothing when there is no number or it does not fit.
std::optional<std::int32_t> parse_leading_int32(const char* text) noexcept;

// The number that the setting begins with; `default_value` when it is unset, no number or too
// large. The look-up is logged as tly_getenv() does.
std::int32_t setting_as_int32(const char* name, std::int32_t default_value) noexcept;

}  // namespace tly
