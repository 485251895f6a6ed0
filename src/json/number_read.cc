#include <locale.h>
#include <stdlib.h>

#include <cerrno>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "number_text.h"

namespace tly::json {
namespace {

constexpr double kExactPowersOf10[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                       1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr int kMaxExactPower = 22;
constexpr std::uint64_t kMaxExactMantissa = std::uint64_t{1} << 53;
constexpr std::size_t kMaxMantissaDigits = 19;  // as many fit in 64 bits whatever they are
constexpr int kMaxExponentDigits = 4;

bool is_digit(char byte) noexcept { return byte >= '0' && byte <= '9'; }

bool is_letter(char byte) noexcept {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

// A number in the plain form: a minus, digits, a point and digits, an exponent.
struct PlainNumber {
  const char* end;  // null when the text has another form, or more digits than are kept here
  std::uint64_t mantissa;
  int exponent_of_10;
  bool is_negative;
};

// Reads 'e', a sign and digits, when they are there, and returns what follows; null when there are
// too many digits.
const char* scan_exponent(const char* text, int& exponent_of_10) noexcept {
  if (*text != 'e' && *text != 'E') return text;
  const bool is_negative = text[1] == '-';
  const char* const digits = text + (text[1] == '-' || text[1] == '+' ? 2 : 1);
  const char* cursor = digits;
  int exponent = 0;
  for (; is_digit(*cursor); ++cursor) {
    if (cursor - digits == kMaxExponentDigits) return nullptr;
    exponent = exponent * 10 + (*cursor - '0');
  }
  if (cursor == digits) return text;
  exponent_of_10 += is_negative ? -exponent : exponent;
  return cursor;
}

PlainNumber scan_plain_number(const char* text) noexcept {
  PlainNumber plain = {nullptr, 0, 0, *text == '-'};
  const char* cursor = plain.is_negative ? text + 1 : text;
  const char* const digits = cursor;
  const bool begins_with_zero = *digits == '0';
  const auto take_digits = [&] {
    for (; is_digit(*cursor); ++cursor) {
      plain.mantissa = plain.mantissa * 10 + static_cast<std::uint64_t>(*cursor - '0');
    }
  };
  take_digits();
  auto digit_count = static_cast<std::size_t>(cursor - digits);
  if (digit_count == 0 || (begins_with_zero && digit_count > 1)) return plain;
  if (begins_with_zero && is_letter(*cursor)) return plain;
  if (*cursor == '.') {
    const char* const fraction = ++cursor;
    take_digits();
    const auto fraction_digits = static_cast<std::size_t>(cursor - fraction);
    digit_count += fraction_digits;
    if (digit_count <= kMaxMantissaDigits)
      plain.exponent_of_10 = -static_cast<int>(fraction_digits);
  }
  if (digit_count <= kMaxMantissaDigits) plain.end = scan_exponent(cursor, plain.exponent_of_10);
  return plain;
}

// A product or quotient of two doubles that are exact is rounded once, as it must be.
bool has_exact_factors(const PlainNumber& plain) noexcept {
  return FLT_EVAL_METHOD == 0 && plain.mantissa <= kMaxExactMantissa &&
         plain.exponent_of_10 >= -kMaxExactPower && plain.exponent_of_10 <= kMaxExactPower;
}

double from_exact_factors(const PlainNumber& plain) noexcept {
  const auto mantissa = static_cast<double>(plain.mantissa);
  const double magnitude = plain.exponent_of_10 < 0
                               ? mantissa / kExactPowersOf10[-plain.exponent_of_10]
                               : mantissa * kExactPowersOf10[plain.exponent_of_10];
  return plain.is_negative ? -magnitude : magnitude;
}

double strtod_without_locale(const char* text, char** end) noexcept {
  static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return c_locale == nullptr ? strtod(text, end) : strtod_l(text, end, c_locale);
}

// Whether the text may have been consumed: no hexadecimal digits, no zero in front of others.
bool is_accepted_text(const char* text, std::size_t length) noexcept {
  if (std::memchr(text, 'x', length) != nullptr || std::memchr(text, 'X', length) != nullptr) {
    return false;
  }
  if (length > 1 && text[0] == '0' && text[1] != '.') return false;
  return !(length > 2 && text[0] == '-' && text[1] == '0' && text[2] != '.');
}

const char* read_any_number(const char* text, double& number) noexcept {
  char* end = nullptr;
  const int saved_errno = errno;  // a number out of range is no failure of the system
  number = strtod_without_locale(text, &end);
  errno = saved_errno;
  if (!std::isfinite(number) || !is_accepted_text(text, static_cast<std::size_t>(end - text))) {
    return nullptr;
  }
  return end;
}

}  // namespace

const char* read_number(const char* text, double& number) noexcept {
  const PlainNumber plain = scan_plain_number(text);
  if (plain.end == nullptr) return read_any_number(text, number);
  if (has_exact_factors(plain)) {
    number = from_exact_factors(plain);
    return plain.end;
  }
  const std::from_chars_result result = std::from_chars(text, plain.end, number);
  const bool is_read = result.ec == std::errc() && result.ptr == plain.end && std::isnormal(number);
  return is_read ? plain.end : read_any_number(text, number);
}

}  // namespace tly::json
