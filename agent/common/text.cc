#include "common/text.h"

#include <algorithm>

namespace tly::agent {
namespace {

unsigned char byte_at(std::string_view text, std::size_t index) {
  return static_cast<unsigned char>(text[index]);
}

bool is_continuation(unsigned char byte) { return (byte & 0xC0U) == 0x80U; }

// The byte position of the character with that index, or the text's end.
std::size_t position_of(std::string_view text, std::size_t character) {
  std::size_t position = 0;
  while (position < text.size()) {
    if (!is_continuation(byte_at(text, position)) && character-- == 0) {
      break;
    }
    ++position;
  }
  return position;
}

struct CodeRange {
  std::uint32_t first;
  std::uint32_t last;
};

constexpr CodeRange kControls[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C},
                                   {0x200E, 0x200F}, {0x202A, 0x202E}, {0x2066, 0x2069}};

}  // namespace

std::size_t utf8_character_length(std::string_view text) {
  if (text.empty()) {
    return 0;
  }
  const unsigned char first = byte_at(text, 0);
  if (first < 0x80U) {
    return 1;
  }
  const std::size_t length = first >= 0xF0U ? 4 : first >= 0xE0U ? 3 : 2;
  if (first < 0xC2U || first > 0xF4U || text.size() < length) {
    return 0;
  }
  for (std::size_t i = 1; i < length; ++i) {
    if (!is_continuation(byte_at(text, i))) {
      return 0;
    }
  }
  const std::uint32_t code = utf8_code(text.substr(0, length));
  const bool is_overlong = (length == 3 && code < 0x800U) || (length == 4 && code < 0x10000U);
  const bool is_surrogate = code >= 0xD800U && code <= 0xDFFFU;
  return is_overlong || is_surrogate || code > 0x10FFFFU ? 0 : length;
}

std::uint32_t utf8_code(std::string_view character) {
  std::uint32_t code = byte_at(character, 0);
  if (character.size() > 1) {
    code &= 0x7FU >> character.size();
  }
  for (std::size_t i = 1; i < character.size(); ++i) {
    code = (code << 6U) | (byte_at(character, i) & 0x3FU);
  }
  return code;
}

bool is_control(std::uint32_t code) {
  return std::ranges::any_of(kControls, [code](const CodeRange& range) {
    return code >= range.first && code <= range.last;
  });
}

std::string printable(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = utf8_character_length(text);
    const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
    result += length == 0 || is_control(utf8_code(character)) ? std::string_view("?") : character;
    text.remove_prefix(character.size());
  }
  return result;
}

std::string printable_lines(std::string_view text) {
  std::string result;
  for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos;) {
    result += printable(text.substr(0, end)) + '\n';
    text.remove_prefix(end + 1);
  }
  return result + printable(text);
}

std::size_t display_width(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return !is_continuation(static_cast<unsigned char>(c));
  }));
}

std::string cut(std::string_view text, std::size_t width) {
  return std::string(text.substr(0, position_of(text, width)));
}

std::string fit(std::string_view text, std::size_t width, std::string_view ellipsis) {
  const std::size_t text_width = display_width(text);
  if (text_width <= width) {
    return std::string(text);
  }
  if (width == 0) {
    return {};
  }
  const std::size_t tail = (width - 1) / 2;
  const std::size_t head = width - 1 - tail;
  std::string result(text.substr(0, position_of(text, head)));
  result += ellipsis;
  return result.append(text.substr(position_of(text, text_width - tail)));
}

std::string pad_right(std::string_view text, std::size_t width) {
  const std::size_t text_width = display_width(text);
  return std::string(text).append(width > text_width ? width - text_width : 0, ' ');
}

std::string pad_left(std::string_view text, std::size_t width) {
  const std::size_t text_width = display_width(text);
  return std::string(width > text_width ? width - text_width : 0, ' ').append(text);
}

}  // namespace tly::agent
