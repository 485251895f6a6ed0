#include "parser.h"

#include <cstring>

#include "block.h"
#include "number_text.h"
#include "quoted_text.h"

namespace tly::json {
namespace {

constexpr std::size_t kMaxDepth = 2048;

struct Literal {
  const char* text;
  std::size_t length;
  std::int8_t type;
  std::uint32_t size;
};
constexpr Literal kLiterals[] = {
    {"true", 4, JSONBoolean, 1}, {"false", 5, JSONBoolean, 0}, {"null", 4, JSONNull, 0}};

// The white space of the C locale.
bool is_space(char byte) noexcept { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }

// Goes through the text without recursion: the builder knows which containers are open. The NUL at
// the end is no part of any value, so that it stops every step that meets it.
class Parser {
 public:
  explicit Parser(const char* text) noexcept : cursor_(text), end_(text + std::strlen(text)) {}

  JSON_Value* parse() noexcept {
    do {
      if (!read_value()) return nullptr;
      if (!advance()) return nullptr;
    } while (builder_.has_open_container());
    return builder_.finish();
  }

 private:
  void skip_space() noexcept {
    while (is_space(*cursor_)) ++cursor_;
  }

  // Reads a scalar or what opens a container.
  bool read_value() noexcept {
    skip_space();
    switch (*cursor_) {
      case '{':
        return open_container(JSONObject);
      case '[':
        return open_container(JSONArray);
      case '"':
        return read_string();
      default:
        return *cursor_ == '-' || (*cursor_ >= '0' && *cursor_ <= '9') ? read_number_value()
                                                                       : read_literal();
    }
  }

  bool open_container(std::int8_t type) noexcept {
    if (++depth_ > kMaxDepth) return false;
    ++cursor_;
    entry_.type = type;
    may_omit_comma_ = true;
    return builder_.open(entry_);
  }

  bool read_string() noexcept {
    QuotedText text;
    cursor_ = scan_quoted_text(cursor_, end_, text);
    if (cursor_ == nullptr) return false;
    entry_.type = JSONString;
    entry_.text = text.begin;
    entry_.size = text.length;
    entry_.text_has_escapes = text.has_escapes;
    return builder_.add(entry_);
  }

  bool read_number_value() noexcept {
    double number = 0;
    cursor_ = read_number(cursor_, number);
    if (cursor_ == nullptr) return false;
    entry_.type = JSONNumber;
    entry_.number = number;
    entry_.size = 0;
    return builder_.add(entry_);
  }

  bool read_literal() noexcept {
    for (const Literal& literal : kLiterals) {
      if (std::strncmp(cursor_, literal.text, literal.length) != 0) continue;
      cursor_ += literal.length;
      entry_.type = literal.type;
      entry_.size = literal.size;
      return builder_.add(entry_);
    }
    return false;
  }

  // Closes the containers that end here, and stands at the next value unless all are closed.
  bool advance() noexcept {
    while (builder_.has_open_container()) {
      const bool is_in_object = builder_.is_in_object();
      skip_space();
      if (!may_omit_comma_ && *cursor_ == ',') {
        ++cursor_;
        skip_space();
        may_omit_comma_ = true;
      }
      if (*cursor_ != (is_in_object ? '}' : ']')) {
        if (!may_omit_comma_) return false;
        may_omit_comma_ = false;
        return !is_in_object || read_name();
      }
      ++cursor_;
      --depth_;
      may_omit_comma_ = false;
      if (!builder_.close()) return false;
    }
    return true;
  }

  bool read_name() noexcept {
    if (*cursor_ != '"') return false;
    QuotedText name;
    cursor_ = scan_quoted_text(cursor_, end_, name);
    if (cursor_ == nullptr || name.has_nul) return false;
    entry_.name = name.begin;
    entry_.name_length = name.length;
    entry_.name_has_escapes = name.has_escapes;
    skip_space();
    return *cursor_++ == ':';
  }

  const char* cursor_;
  const char* end_;
  std::size_t depth_ = 0;
  bool may_omit_comma_ = false;  // after an opening bracket or a comma
  Entry entry_ = {};             // its name is that of the value to be read
  TreeBuilder builder_;
};

}  // namespace

JSON_Value* parse_text(const char* text) noexcept { return Parser(text).parse(); }

}  // namespace tly::json

using namespace tly::json;

JSON_Value* json_parse_string(const char* string) {
  constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
  if (string == nullptr) return nullptr;
  const std::size_t mark_bytes = sizeof(kByteOrderMark) - 1;
  const bool has_mark = std::strncmp(string, kByteOrderMark, mark_bytes) == 0;
  return parse_text(has_mark ? string + mark_bytes : string);
}
