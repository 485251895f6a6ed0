#include <cstring>

#include "byte_scan.h"
#include "owned_text.h"
#include "parser.h"

namespace tly::json {
namespace {

void blank(char* text, std::size_t length) noexcept { std::memset(text, ' ', length); }

// The end of the string whose opening quote is at `quote`: just past its closing quote, or at
// `end`.
char* skip_string(char* quote, char* end) noexcept {
  char* cursor = quote + 1;
  for (;;) {
    cursor += skip_ordinary<Special::kWithoutSlash>(cursor, end) - cursor;
    if (cursor == end) return end;
    if (*cursor == '"') return cursor + 1;
    cursor += *cursor == '\\' && cursor + 1 != end ? 2 : 1;
  }
}

// Blanks the comments between the two tokens outside strings. One without an end loses its opening
// token and ends the search.
void blank_comments(char* text, char* end, const char* opening, const char* closing) noexcept {
  if (std::strstr(text, opening) == nullptr) return;
  const std::size_t opening_bytes = std::strlen(opening);
  char* cursor = text;
  for (;;) {
    cursor += skip_ordinary<Special::kWithSlash>(cursor, end) - cursor;
    if (cursor == end) return;
    if (*cursor == '"') {
      cursor = skip_string(cursor, end);
    } else if (std::strncmp(cursor, opening, opening_bytes) != 0) {
      ++cursor;
    } else {
      blank(cursor, opening_bytes);
      cursor += opening_bytes;
      const char* closing_token = std::strstr(cursor, closing);
      if (closing_token == nullptr) return;
      const char* const comment_end = closing_token + std::strlen(closing);
      const auto comment_bytes = static_cast<std::size_t>(comment_end - cursor);
      blank(cursor, comment_bytes);
      cursor += comment_bytes;
    }
  }
}

}  // namespace
}  // namespace tly::json

using namespace tly::json;

JSON_Value* json_parse_string_with_comments(const char* string) {
  if (string == nullptr) return nullptr;
  if (std::strchr(string, '/') == nullptr) return parse_text(string);
  const OwnedText text(strdup(string));
  if (text == nullptr) return nullptr;
  char* const end = text.get() + std::strlen(text.get());
  blank_comments(text.get(), end, "/*", "*/");
  blank_comments(text.get(), end, "//", "\n");
  return parse_text(text.get());
}
