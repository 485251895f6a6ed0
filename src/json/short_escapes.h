// Characters that are written as a backslash and one letter (RFC 8259, section 7).
#pragma once

namespace tly::json {

struct ShortEscape {
  char byte;
  char letter;
};

inline constexpr ShortEscape kShortEscapes[] = {
    {'"', '"'},  {'\\', '\\'}, {'/', '/'},  {'\b', 'b'},
    {'\f', 'f'}, {'\n', 'n'},  {'\r', 'r'}, {'\t', 't'},
};

}  // namespace tly::json
