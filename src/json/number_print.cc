#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>

#include "number_text.h"

namespace tly::json {
namespace {

constexpr int kPrecision = 17;
constexpr double kLeastWithoutExponent = 1e-4;
constexpr double kLeastWithExponent = 1e17;

constexpr std::uint64_t kPowersOf10[] = {1,
                                         10,
                                         100,
                                         1000,
                                         10000,
                                         100000,
                                         1000000,
                                         10000000,
                                         100000000,
                                         1000000000,
                                         10000000000,
                                         100000000000,
                                         1000000000000,
                                         10000000000000,
                                         100000000000000,
                                         1000000000000000,
                                         10000000000000000,
                                         100000000000000000,
                                         1000000000000000000,
                                         10000000000000000000U};
constexpr int kMaxPower = 19;

constexpr char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

int count_digits(std::uint64_t number) noexcept {
  int count = 1;
  while (count <= kMaxPower && number >= kPowersOf10[count]) ++count;
  return count;
}

// Prints exactly `count` digits, with zeros in front.
char* print_digits(std::uint64_t number, int count, char* target) noexcept {
  char* cursor = target + count;
  for (; cursor - target >= 2; number /= 100) {
    cursor -= 2;
    std::memcpy(cursor, kDigitPairs + number % 100 * 2, 2);
  }
  if (cursor != target) *target = static_cast<char>('0' + number);
  return target + count;
}

__extension__ using Wide = unsigned __int128;

// The decimal exponent of the first digit of a number between the two limits above.
int leading_exponent(double number) noexcept {
  if (number >= 1) return count_digits(static_cast<std::uint64_t>(number)) - 1;
  return number >= 0.1 ? -1 : number >= 0.01 ? -2 : number >= 0.001 ? -3 : -4;
}

// The first 17 digits of a number with a fraction, rounded half to even as its exact value is.
// It is a mantissa of 53 bits over a power of 2, and at most 10^20 scales it: 120 bits hold that.
std::uint64_t scaled_digits(double number, int scale) noexcept {
  constexpr int kMantissaBits = 52;
  constexpr int kExponentOfUnit = 1075;
  const auto bits = std::bit_cast<std::uint64_t>(number);
  const std::uint64_t unit = std::uint64_t{1} << kMantissaBits;
  const int shift = kExponentOfUnit - static_cast<int>(bits >> kMantissaBits);
  Wide product = (bits & (unit - 1)) | unit;
  product *= kPowersOf10[scale > kMaxPower ? kMaxPower : scale];
  if (scale > kMaxPower) product *= kPowersOf10[scale - kMaxPower];
  const Wide half = Wide{1} << (shift - 1);
  const Wide rest = product & ((Wide{1} << shift) - 1);
  const auto digits = static_cast<std::uint64_t>(product >> shift);
  const bool is_rounded_up = rest > half || (rest == half && (digits & 1) != 0);
  return is_rounded_up ? digits + 1 : digits;
}

// Prints a number with a fraction, between the two limits above.
char* print_fraction(double number, char* target) noexcept {
  int exponent = leading_exponent(number);
  std::uint64_t digits = scaled_digits(number, kPrecision - 1 - exponent);
  if (digits == kPowersOf10[kPrecision]) {
    digits /= 10;
    ++exponent;
  }
  const int decimals = kPrecision - 1 - exponent;
  const int whole_digits = exponent < 0 ? 1 : exponent + 1;
  const std::uint64_t divisor = kPowersOf10[decimals > kPrecision ? kPrecision : decimals];
  const std::uint64_t whole = exponent < 0 ? 0 : digits / divisor;
  std::uint64_t fraction = exponent < 0 ? digits : digits % divisor;
  target = print_digits(whole, whole_digits, target);
  if (fraction == 0) return target;
  int count = decimals;
  while (fraction % 10000 == 0) {
    fraction /= 10000;
    count -= 4;
  }
  while (fraction % 10 == 0) {
    fraction /= 10;
    --count;
  }
  *target++ = '.';
  return print_digits(fraction, count, target);
}

}  // namespace

char* print_number(double number, char* target) noexcept {
  char* const end = target + kMaxNumberBytes;
  if (std::bit_cast<std::uint64_t>(number) >> 63 != 0) {
    *target++ = '-';
    number = -number;
  }
  if (number < kLeastWithExponent) {
    const auto whole = static_cast<std::uint64_t>(number);
    if (static_cast<double>(whole) == number) {
      return print_digits(whole, count_digits(whole), target);
    }
    if (number >= kLeastWithoutExponent) return print_fraction(number, target);
  }
  return std::to_chars(target, end, number, std::chars_format::general, kPrecision).ptr;
}

}  // namespace tly::json
