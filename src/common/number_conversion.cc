// The strict conversions of text to numbers.
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "common/owned.h"
#include "tallyra/string_utils.h"

namespace {

// Converts the whole text or nothing. kConvert is strtoll(3) or strtoull(3).
template <auto kConvert, typename Number>
bool convert_whole_text(const char* text, Number* value) {
  if (text == nullptr || value == nullptr) {
    return false;
  }
  using Converted = decltype(kConvert("", nullptr, 0));
  using Limits = std::numeric_limits<Converted>;
  static_assert(sizeof(Converted) == sizeof(Number));

  char* end = nullptr;
  errno = 0;
  const Converted number = kConvert(text, &end, 0);
  // An unsigned 0 is no limit value: there, only the maximum stands for a range error.
  const bool at_limit = number == Limits::max() || (Limits::is_signed && number == Limits::min());
  if ((errno == ERANGE && at_limit) || (errno != 0 && number == 0)) {
    return false;
  }
  if (end == text || *end != '\0') {
    return false;
  }
  *value = static_cast<Number>(number);
  return true;
}

template <typename Number>
bool convert_narrow(const char* text, Number* value) {
  uint64_t number = 0;
  if (value == nullptr || !string_to_unsigned_long_long(text, &number) ||
      number > std::numeric_limits<Number>::max()) {
    return false;
  }
  *value = static_cast<Number>(number);
  return true;
}

}  // namespace

bool string_to_long(const char* text, int64_t* value) {
  return convert_whole_text<&std::strtoll>(text, value);
}

bool string_to_unsigned_long(const char* text, uint64_t* value) {
  return convert_whole_text<&std::strtoull>(text, value);
}

bool string_to_long_long(const char* text, int64_t* value) {
  return convert_whole_text<&std::strtoll>(text, value);
}

bool string_to_unsigned_long_long(const char* text, uint64_t* value) {
  return convert_whole_text<&std::strtoull>(text, value);
}

bool string_to_sizet(const char* text, size_t* value) { return convert_narrow(text, value); }
bool string_to_u64(const char* text, uint64_t* value) { return convert_narrow(text, value); }
bool string_to_u8(const char* text, uint8_t* value) { return convert_narrow(text, value); }
bool string_to_u16(const char* text, uint16_t* value) { return convert_narrow(text, value); }
bool string_to_u32(const char* text, uint32_t* value) { return convert_narrow(text, value); }

bool bounded_string_to_int(const char* text, size_t length, int32_t* value) {
  if (text == nullptr || value == nullptr) {
    return false;
  }
  const tly::OwnedString bounded(strndup(text, length));
  int64_t number = 0;
  if (!string_to_long(bounded.get(), &number) || number < INT32_MIN || number > INT32_MAX) {
    return false;
  }
  *value = static_cast<int32_t>(number);
  return true;
}
