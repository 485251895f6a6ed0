// The values of options, from the texts given for them; nothing for a text that is no such value.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "command_line/command_line.h"

namespace tly::agent {

std::optional<std::uint64_t> parse_count(const std::string& text);

// A level's name or its number.
std::optional<std::uint32_t> parse_log_level(const std::string& text);

std::optional<Format> parse_format(const std::string& text);

// 32 hexadecimal digits, not all zeros: that is no schema's id.
std::optional<std::string> parse_schema_id(const std::string& text);

}  // namespace tly::agent
