// Checks texts for UTF-8.
#pragma once

#include <cstddef>

namespace tly::json {

// Whether the bytes are valid UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
bool is_valid_utf8(const char* text, std::size_t length) noexcept;

}  // namespace tly::json
