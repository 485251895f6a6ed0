// Text for a terminal: what may be shown of a name, how wide it is, how it is cut.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tly::agent {

// The length in bytes of the UTF-8 character that the text begins with; 0 when it begins with no
// valid one.
std::size_t utf8_character_length(std::string_view text);

// The code of one valid UTF-8 character.
std::uint32_t utf8_code(std::string_view character);

// Whether it is a control character, or one of those that turn the direction of what follows.
bool is_control(std::uint32_t code);

// The text with '?' for every such character and for every byte that is not UTF-8, so that no name
// can move the cursor, end a line or show itself in another order than it has.
std::string printable(std::string_view text);

// The same for several lines: their ends are kept.
std::string printable_lines(std::string_view text);

// Characters of valid UTF-8; one column each.
std::size_t display_width(std::string_view text);

// The first `width` columns of the text.
std::string cut(std::string_view text, std::size_t width);

// The text in at most `width` columns: what is too long loses its middle to the ellipsis, which is
// one column wide.
std::string fit(std::string_view text, std::size_t width, std::string_view ellipsis);

// The text filled up with blanks on its right or on its left.
std::string pad_right(std::string_view text, std::size_t width);
std::string pad_left(std::string_view text, std::size_t width);

}  // namespace tly::agent
