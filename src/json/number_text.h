// Numbers as JSON texts. Neither direction depends on the locale.
#pragma once

#include <cstddef>

namespace tly::json {

// Reads the number at `text`, which begins with '-' or a digit, with the value that strtod() gives
// it. Returns what follows the consumed text, or null when that is none that is accepted.
const char* read_number(const char* text, double& number) noexcept;

// No number takes more bytes than this.
inline constexpr std::size_t kMaxNumberBytes = 32;

// Prints a finite number as the format "%1.17g" does, without a NUL, and returns the end.
char* print_number(double number, char* target) noexcept;

}  // namespace tly::json
