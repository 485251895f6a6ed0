// JSON's quoted texts: scanning and decoding them. Scanning also checks the escapes, so that
// decoding cannot fail and knows its room beforehand.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tly::json {

struct QuotedText {
  const char* begin;     // after the opening quote
  std::uint32_t length;  // without escapes
  bool has_escapes;
  bool has_nul;  // an escape for the character 0
};

// Scans the text whose opening quote is at `quote`; `end` is the NUL that ends all. Returns what
// follows the closing quote, or null when the text is broken or too long.
const char* scan_quoted_text(const char* quote, const char* end, QuotedText& text) noexcept;

// Writes the `length` bytes that a scanned text stands for.
void decode_quoted_text(const char* text, std::size_t length, char* target) noexcept;

}  // namespace tly::json
