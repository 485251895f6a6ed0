// Finds the bytes that end a run of ordinary text, eight at a time.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tly::json {

// A quote, a backslash or a control byte; kWithSlash: also a slash.
enum class Special { kWithoutSlash, kWithSlash };

template <Special kSpecial>
constexpr bool is_special(char byte) noexcept {
  const auto code = static_cast<unsigned char>(byte);
  return code < 0x20 || byte == '"' || byte == '\\' ||
         (kSpecial == Special::kWithSlash && byte == '/');
}

// Marks special bytes of a word by their top bits; the lowest mark is exact, those above it may
// not be.
template <Special kSpecial>
constexpr std::uint64_t mark_special(std::uint64_t word) noexcept {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kTops = 0x80 * kOnes;
  const auto below = [](std::uint64_t bytes, std::uint64_t limit) {
    return (bytes - limit * kOnes) & ~bytes;
  };
  std::uint64_t marks =
      below(word, 0x20) | below(word ^ ('"' * kOnes), 1) | below(word ^ ('\\' * kOnes), 1);
  if constexpr (kSpecial == Special::kWithSlash) marks |= below(word ^ ('/' * kOnes), 1);
  return marks & kTops;
}

// The first special byte from `text` on, or `end`.
template <Special kSpecial>
const char* skip_ordinary(const char* text, const char* end) noexcept {
  while (end - text >= 8) {
    std::uint64_t word;
    std::memcpy(&word, text, sizeof(word));
    const std::uint64_t marks = mark_special<kSpecial>(word);
    if (marks != 0) {
      if constexpr (std::endian::native == std::endian::little) {
        return text + std::countr_zero(marks) / 8;
      }
      break;
    }
    text += 8;
  }
  while (text != end && !is_special<kSpecial>(*text)) ++text;
  return text;
}

}  // namespace tly::json
