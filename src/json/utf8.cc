#include "utf8.h"

#include <cstdint>
#include <cstring>

namespace tly::json {
namespace {

// The sequences of more than one byte: which first bytes open them, how many bytes follow, and
// between which bounds the second byte lies. Bytes after that are 0x80 to 0xBF. The narrower bounds
// keep out overlong forms (E0, F0), surrogates (ED) and what is above U+10FFFF (F4).
struct Sequence {
  unsigned char first_low;
  unsigned char first_high;
  unsigned char following;
  unsigned char second_low;
  unsigned char second_high;
};
constexpr Sequence kSequences[] = {
    {0xC2, 0xDF, 1, 0x80, 0xBF}, {0xE0, 0xE0, 2, 0xA0, 0xBF}, {0xE1, 0xEC, 2, 0x80, 0xBF},
    {0xED, 0xED, 2, 0x80, 0x9F}, {0xEE, 0xEF, 2, 0x80, 0xBF}, {0xF0, 0xF0, 3, 0x90, 0xBF},
    {0xF1, 0xF3, 3, 0x80, 0xBF}, {0xF4, 0xF4, 3, 0x80, 0x8F},
};

// The bytes that follow the first one at `bytes`, of which `available` are left; 0 when the
// sequence is broken.
std::size_t following_bytes(const unsigned char* bytes, std::size_t available) noexcept {
  for (const Sequence& sequence : kSequences) {
    if (bytes[0] < sequence.first_low || bytes[0] > sequence.first_high) continue;
    if (available <= sequence.following) return 0;
    if (bytes[1] < sequence.second_low || bytes[1] > sequence.second_high) return 0;
    for (std::size_t i = 2; i <= sequence.following; ++i) {
      if ((bytes[i] & 0xC0) != 0x80) return 0;
    }
    return sequence.following;
  }
  return 0;
}

}  // namespace

bool is_valid_utf8(const char* text, std::size_t length) noexcept {
  constexpr std::uint64_t kTopBits = 0x8080808080808080;
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  std::size_t position = 0;
  while (position < length) {
    std::uint64_t word = kTopBits;
    if (length - position >= sizeof(word)) std::memcpy(&word, bytes + position, sizeof(word));
    if ((word & kTopBits) == 0) {
      position += sizeof(word);
    } else if (bytes[position] < 0x80) {
      ++position;
    } else {
      const std::size_t following = following_bytes(bytes + position, length - position);
      if (following == 0) return false;
      position += following + 1;
    }
  }
  return true;
}

}  // namespace tly::json
