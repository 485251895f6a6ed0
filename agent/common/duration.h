// Durations as people write them on a command line.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace tly::agent {

// Reads a positive decimal number followed by ms, s, m or h; without a unit it counts seconds.
// Nothing for any other text and for what is shorter than 1 ms or longer than 24 h.
std::optional<std::chrono::nanoseconds> parse_duration(std::string_view text);

// The shortest of these forms, such as "500ms", "1.5s" or "2s".
std::string duration_text(std::chrono::nanoseconds duration);

}  // namespace tly::agent
