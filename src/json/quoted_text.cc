#include "quoted_text.h"

#include <cstring>

#include "byte_scan.h"
#include "short_escapes.h"
#include "value.h"

namespace tly::json {
namespace {

struct Escape {
  std::size_t source_bytes;  // 0 when it is broken
  std::uint32_t code_point;
};

constexpr std::size_t kUnicodeEscapeBytes = 6;  // \uXXXX

int hex_digit(char digit) noexcept {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

// The unit of a \uXXXX at `text`; false when there is none.
bool read_unit(const char* text, std::uint32_t& unit) noexcept {
  if (text[0] != '\\' || text[1] != 'u') return false;
  unit = 0;
  for (std::size_t i = 2; i < kUnicodeEscapeBytes; ++i) {
    const int digit = hex_digit(text[i]);
    if (digit < 0) return false;
    unit = unit << 4 | static_cast<std::uint32_t>(digit);
  }
  return true;
}

Escape read_unicode_escape(const char* text) noexcept {
  std::uint32_t high = 0;
  if (!read_unit(text, high)) return {0, 0};
  if (high < 0xD800 || high > 0xDFFF) return {kUnicodeEscapeBytes, high};
  std::uint32_t low = 0;
  const bool is_pair = high <= 0xDBFF && read_unit(text + kUnicodeEscapeBytes, low) &&
                       low >= 0xDC00 && low <= 0xDFFF;
  if (!is_pair) return {0, 0};
  return {2 * kUnicodeEscapeBytes, 0x10000 + ((high - 0xD800) << 10 | (low - 0xDC00))};
}

// The escape whose backslash is at `text`. No byte after the one that breaks it is read.
Escape read_escape(const char* text) noexcept {
  for (const ShortEscape& escape : kShortEscapes) {
    if (escape.letter == text[1]) return {2, static_cast<unsigned char>(escape.byte)};
  }
  return read_unicode_escape(text);
}

std::size_t utf8_bytes(std::uint32_t code_point) noexcept {
  return code_point < 0x80 ? 1 : code_point < 0x800 ? 2 : code_point < 0x10000 ? 3 : 4;
}

char* write_utf8(std::uint32_t code_point, char* target) noexcept {
  constexpr unsigned kFirstByteMarks[] = {0, 0x00, 0xC0, 0xE0, 0xF0};
  const std::size_t count = utf8_bytes(code_point);
  for (std::size_t i = count - 1; i > 0; --i, code_point >>= 6) {
    target[i] = static_cast<char>(0x80 | (code_point & 0x3F));
  }
  target[0] = static_cast<char>(kFirstByteMarks[count] | code_point);
  return target + count;
}

}  // namespace

const char* scan_quoted_text(const char* quote, const char* end, QuotedText& text) noexcept {
  text = {quote + 1, 0, false, false};
  std::size_t saved = 0;  // source bytes that stand for nothing
  const char* cursor = quote + 1;
  for (;;) {
    cursor = skip_ordinary<Special::kWithoutSlash>(cursor, end);
    if (*cursor != '\\') break;
    const Escape escape = read_escape(cursor);
    if (escape.source_bytes == 0) return nullptr;
    text.has_escapes = true;
    text.has_nul |= escape.code_point == 0;
    saved += escape.source_bytes - utf8_bytes(escape.code_point);
    cursor += escape.source_bytes;
  }
  if (*cursor != '"') return nullptr;
  const std::size_t length = static_cast<std::size_t>(cursor - text.begin) - saved;
  if (length > kMaxTextBytes) return nullptr;
  text.length = static_cast<std::uint32_t>(length);
  return cursor + 1;
}

void decode_quoted_text(const char* text, std::size_t length, char* target) noexcept {
  char* const end = target + length;
  while (target != end) {
    if (*text != '\\') {
      *target++ = *text++;
      continue;
    }
    const Escape escape = read_escape(text);
    text += escape.source_bytes;
    target = write_utf8(escape.code_point, target);
  }
}

}  // namespace tly::json
