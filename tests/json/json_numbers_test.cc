#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

#include "json_support.h"

namespace {

std::string printed(double number) {
  const OwnedValue value(json_value_init_number(number));
  char text[64] = "";
  EXPECT_EQ(json_serialize_to_buffer(value.get(), text, sizeof(text)), JSONSuccess);
  return text;
}

std::string printed_by_libc(double number) {
  std::array<char, 64> text = {};
  std::snprintf(text.data(), text.size(), "%1.17g", number);
  return text.data();
}

// What the rules for numbers make of a text: strtod() and a few refusals.
bool read_by_libc(const std::string& text, double& number, std::size_t& consumed) {
  char* end = nullptr;
  number = std::strtod(text.c_str(), &end);
  consumed = static_cast<std::size_t>(end - text.c_str());
  const std::string used = text.substr(0, consumed);
  const bool has_zero_in_front = (consumed > 1 && used[0] == '0' && used[1] != '.') ||
                                 (consumed > 2 && used.starts_with("-0") && used[2] != '.');
  return std::isfinite(number) && used.find_first_of("xX") == std::string::npos &&
         !has_zero_in_front;
}

void expect_read_as_by_libc(const std::string& text) {
  double expected = 0;
  std::size_t consumed = 0;
  const bool is_accepted = read_by_libc(text, expected, consumed);
  const OwnedValue value = parsed(text);
  ASSERT_EQ(value != nullptr, is_accepted) << text;
  if (is_accepted) {
    ASSERT_EQ(std::bit_cast<std::uint64_t>(json_number(value.get())),
              std::bit_cast<std::uint64_t>(expected))
        << text;
  }
  // In an array, all of the text must be consumed.
  ASSERT_EQ(parsed("[" + text + "]") != nullptr, is_accepted && consumed == text.size()) << text;
}

class RandomNumbers {
 public:
  // Doubles of every kind: any bits, integers, short decimals, halves, neighbours of powers of 10.
  double next() {
    switch (random_() % 6) {
      case 0:
        return std::bit_cast<double>(random_());
      case 1:
        return static_cast<double>(random_() >> random_() % 64);
      case 2:
        return static_cast<double>(random_() >> 32) / power_of_10();
      case 3:
        return std::ldexp(static_cast<double>(random_() >> 11), -static_cast<int>(random_() % 80));
      case 4:
        return std::nextafter(1 / power_of_10(), random_() % 2 == 0 ? 0.0 : 2.0);
      default:
        return std::nextafter(power_of_10() * power_of_10(), random_() % 2 == 0 ? 0.0 : 1e40);
    }
  }
  std::string next_text() {
    constexpr char kBytes[] = "00112345678999....eE+-xXn";
    std::string text(1, "-0123456789"[random_() % 11]);
    for (std::size_t i = random_() % 14; i > 0; --i)
      text += kBytes[random_() % (sizeof(kBytes) - 1)];
    return text;
  }
  std::string next_decimal() {
    std::array<char, 512> text = {};
    const int digits = static_cast<int>(random_() % 25);
    const double number = std::fabs(next());
    if (!std::isfinite(number)) return "1";
    const bool has_exponent = random_() % 2 == 0;
    std::snprintf(text.data(), text.size(), has_exponent ? "%.*e" : "%.*f", digits, number);
    return text.data();
  }

 private:
  double power_of_10() { return std::pow(10.0, static_cast<double>(random_() % 20)); }
  std::mt19937_64 random_{20240229};
};

TEST(JsonNumbers, ArePrintedAsByTheCLibraryAndReadBack) {
  RandomNumbers numbers;
  for (int i = 0; i < 200000; ++i) {
    const double number = numbers.next();
    if (!std::isfinite(number)) continue;
    const std::string text = printed_by_libc(number);
    ASSERT_EQ(printed(number), text);
    ASSERT_EQ(json_number(parsed(text).get()), number) << text;
  }
  EXPECT_EQ(printed(-0.0), "-0");
  for (const double refused : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    EXPECT_EQ(json_value_init_number(refused), nullptr);
  }
}

TEST(JsonNumbers, AreReadAsByTheCLibrary) {
  RandomNumbers numbers;
  for (int i = 0; i < 100000; ++i) {
    expect_read_as_by_libc(numbers.next_text());
    expect_read_as_by_libc(numbers.next_decimal());
  }
  for (const char* text :
       {"9007199254740993", "9007199254740992e22", "9007199254740993e-22", "1e23", "123e22",
        "18446744073709551616", "9999999999999999999", "99999999999999999999", "4.9e-324", "2e-324",
        "2.2250738585072011e-308", "1.7976931348623158e308", "1.7976931348623159e308", "1e00000005",
        "1e-00000005", "0.000000000000000000000000000001", "1e99999999999", "0.0e99999", "-0.e3"}) {
    expect_read_as_by_libc(text);
  }
}

TEST(JsonNumbers, DoNotDependOnTheLocale) {
#ifndef COMMA_LOCALE_DIRECTORY
  GTEST_SKIP() << "Debian's package \"locales\" was not installed when this was configured";
#else
  setenv("LOCPATH", COMMA_LOCALE_DIRECTORY, 1);
  ASSERT_NE(std::setlocale(LC_ALL, COMMA_LOCALE), nullptr);
  ASSERT_STREQ(std::localeconv()->decimal_point, ",");
  const std::string text = reprinted("[0.5,1.2345678901234567890123,1e-300,2.5e-310]");
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(text, "[0.5,1.2345678901234567,1e-300,2.5000000000000171e-310]");
#endif
}

}  // namespace
