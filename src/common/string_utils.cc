#include "tallyra/string_utils.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "common/log.h"
#include "common/owned.h"

namespace {

bool is_space(char character) { return std::isspace(static_cast<unsigned char>(character)) != 0; }

// Not isprint(3), which follows the locale.
bool is_visible_ascii(char character) {
  const auto code = static_cast<unsigned char>(character);
  return code >= 0x20 && code <= 0x7E;
}

tly::OwnedString allocate_text(size_t size, const char* function) {
  tly::OwnedString text(static_cast<char*>(std::malloc(size)));
  if (text == nullptr) {
    TLY_LOG_ERROR("[%s] Failed in malloc", function);
  }
  return text;
}

// A new string: the three texts one after another.
char* join_texts(const char* first, const char* second, const char* third, const char* function) {
  const size_t first_length = std::strlen(first);
  const size_t second_length = std::strlen(second);
  const size_t third_size = std::strlen(third) + 1;
  tly::OwnedString joined = allocate_text(first_length + second_length + third_size, function);
  if (joined != nullptr) {
    std::memcpy(joined.get(), first, first_length);
    std::memcpy(joined.get() + first_length, second, second_length);
    std::memcpy(joined.get() + first_length + second_length, third, third_size);
  }
  return joined.release();
}

}  // namespace

bool tly_string_to_boolean(const char* text) {
  return text == nullptr || std::strcmp(text, "1") == 0 || std::strcmp(text, "True") == 0 ||
         std::strcmp(text, "true") == 0;
}

const char* boolean_to_string(bool value) { return value ? "true" : "false"; }

char* trim_white_space(char* text) {
  if (text == nullptr) {
    return nullptr;
  }
  while (is_space(*text)) {
    ++text;
  }
  char* end = text + std::strlen(text);
  while (end > text && is_space(end[-1])) {
    --end;
  }
  // Text without trailing white space may stand in memory that cannot be written.
  // cppcheck-suppress duplicateConditionalAssign
  if (*end != '\0') {
    *end = '\0';
  }
  return text;
}

char* tly_vexpand_string_template(const char* format, va_list arguments) {
  va_list to_measure;
  va_copy(to_measure, arguments);
  // The analyzer misses the va_copy when it is given several files at once.
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
  const int length = vsnprintf(nullptr, 0, format, to_measure);
  va_end(to_measure);
  if (length < 0) {
    TLY_LOG_ERROR("Failed to calculate length of expanded string template");
    return nullptr;
  }
  const size_t size = static_cast<size_t>(length) + 1;
  tly::OwnedString text(static_cast<char*>(std::malloc(size)));
  if (text == nullptr) {
    TLY_LOG_ERROR("Failed to allocate buffer for expanded string of size %d: %s",
                  static_cast<int>(size), std::strerror(errno));
    return nullptr;
  }
  if (vsnprintf(text.get(), size, format, arguments) != length) {
    TLY_LOG_ERROR("Failed to expand file string template");
    return nullptr;
  }
  return text.release();
}

char* tly_expand_string_template(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* const text = tly_vexpand_string_template(format, arguments);
  va_end(arguments);
  return text;
}

int hex_char_to_int(char character) {
  if (character >= '0' && character <= '9') {
    return character - '0';
  }
  if (character >= 'a' && character <= 'f') {
    return character - 'a' + 10;
  }
  if (character >= 'A' && character <= 'F') {
    return character - 'A' + 10;
  }
  return -1;
}

bool string_to_guid(const char* text, uint8_t guid[16]) {
  constexpr size_t kGuidSize = 16;
  if (text == nullptr || guid == nullptr) {
    return false;
  }
  size_t stored = 0;
  int high_nibble = -1;
  for (; *text != '\0'; ++text) {
    if (*text == '-') {
      continue;
    }
    const int nibble = hex_char_to_int(*text);
    if (nibble < 0) {
      return false;
    }
    if (high_nibble < 0) {
      high_nibble = nibble;
      continue;
    }
    if (stored == kGuidSize) {
      return false;
    }
    guid[stored++] = static_cast<uint8_t>(high_nibble << 4 | nibble);
    high_nibble = -1;
  }
  return stored == kGuidSize;
}

char* string_concat(const char* a, const char* b) {
  return a != nullptr && b != nullptr ? join_texts(a, "", b, "string_concat") : nullptr;
}

char* string_concat_comma_separated_token(const char* list, const char* token) {
  if (token == nullptr) {
    return nullptr;
  }
  const bool list_is_empty = list == nullptr || *list == '\0';
  return join_texts(list_is_empty ? "" : list, list_is_empty ? "" : ",", token,
                    "string_concat_comma_separated_token");
}

bool find_ith_substr(const char* text, const char* pattern, uint64_t index, size_t* position) {
  if (text == nullptr || pattern == nullptr || position == nullptr) {
    TLY_LOG_ERROR("[%s] invalid input", "find_ith_substr");
    return false;
  }
  const size_t pattern_length = std::strlen(pattern);
  uint64_t found = 0;
  for (const char* start = text; *start != '\0'; ++start) {
    if (std::strncmp(start, pattern, pattern_length) == 0 && found++ == index) {
      *position = static_cast<size_t>(start - text);
      return true;
    }
  }
  return false;
}

char* get_allocated_basename(const char* path) {
  if (path == nullptr || *path == '\0') {
    return nullptr;
  }
  const char* const last_slash = std::strrchr(path, '/');
  return join_texts(last_slash != nullptr ? last_slash + 1 : path, "", "",
                    "get_allocated_basename");
}

bool tly_string_ends_with(const char* text, const char* suffix) {
  if (text == nullptr || suffix == nullptr) {
    return false;
  }
  const size_t text_length = std::strlen(text);
  const size_t suffix_length = std::strlen(suffix);
  return suffix_length <= text_length &&
         std::memcmp(text + text_length - suffix_length, suffix, suffix_length) == 0;
}

size_t tly_strncpy(char* destination, size_t size, const char* source, size_t count) {
  if (size == 0 || destination == nullptr) {
    return 0;
  }
  const size_t copied = source != nullptr ? std::min(count, size - 1) : 0;
  if (copied > 0) {
    std::memcpy(destination, source, copied);
  }
  destination[copied] = '\0';
  return copied;
}

char* strncpy_visible_ascii(char* destination, const char* source, size_t length) {
  if (length == 0) {
    return destination;
  }
  constexpr char kNotAvailable[] = "N/A";
  const char* const text = *source != '\0' && !is_visible_ascii(*source) ? kNotAvailable : source;
  size_t copied = 0;
  while (copied < length - 1 && is_visible_ascii(text[copied])) {
    destination[copied] = text[copied];
    ++copied;
  }
  std::memset(destination + copied, 0, length - copied);
  return destination;
}

const char* pair_get_string(const tly_pair_t* table, uint32_t number) {
  for (; table != nullptr && table->name != nullptr; ++table) {
    if (static_cast<uint32_t>(table->number) == number) {
      return table->name;
    }
  }
  return nullptr;
}

uint32_t pair_get_number(const tly_pair_t* table, const char* name) {
  for (; name != nullptr && table != nullptr && table->name != nullptr; ++table) {
    if (std::strcmp(table->name, name) == 0) {
      return static_cast<uint32_t>(table->number);
    }
  }
  return 0xFFFFFFFF;
}

int print_si_prefixed_value(FILE* stream, uint32_t width, int64_t value) {
  const int columns = static_cast<int>(std::min<uint32_t>(width, INT_MAX));
  if (value > 999) {
    return fprintf(stream, " %*lld k |", std::max(columns - 2, 0),
                   static_cast<long long>(value / 1000));
  }
  return fprintf(stream, " %*lld |", columns, static_cast<long long>(value));
}
