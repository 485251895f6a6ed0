#include "output/value_format.h"

#include <time.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

#include "common/text.h"

namespace tly::agent {
namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

template <typename Number, typename... Base>
std::string digits_of(Number number, Base... base) {
  std::array<char, 64> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number, base...);
  return {digits.data(), result.ptr};
}

std::string_view string_of(const tly_counter_info_t& counter, const void* value) {
  const char* const characters = static_cast<const char*>(value);
  return {characters, strnlen(characters, counter.length)};
}

}  // namespace

std::size_t value_size(const tly_counter_info_t& counter) {
  constexpr std::size_t kSlotSize = sizeof(tly_counter_value_t);
  return counter.data_type == TLY_DATA_TYPE_STRING
             ? std::min<std::size_t>(counter.length, kSlotSize)
             : kSlotSize;
}

tly_counter_value_t load_value(const tly_counter_info_t& counter, const void* value) {
  tly_counter_value_t loaded{};
  std::memcpy(&loaded, value, value_size(counter));
  return loaded;
}

bool has_value(const tly_counter_info_t& counter, const tly_counter_value_t& value) {
  return counter.data_type != TLY_DATA_TYPE_UINT64 ||
         value.u64 != std::numeric_limits<std::uint64_t>::max();
}

std::optional<double> numeric_value(const tly_counter_info_t& counter,
                                    const tly_counter_value_t& value) {
  if (!has_value(counter, value)) {
    return std::nullopt;
  }
  switch (counter.data_type) {
    case TLY_DATA_TYPE_STRING:
      return std::nullopt;
    case TLY_DATA_TYPE_FP64:
      return value.fp64;
    case TLY_DATA_TYPE_UINT64:
    case TLY_DATA_TYPE_BIT64:
      return static_cast<double>(value.u64);
    default:
      return static_cast<double>(value.i64);
  }
}

std::optional<double> increase(const tly_counter_info_t& counter, const tly_counter_value_t& before,
                               const tly_counter_value_t& after) {
  const std::optional<double> from = numeric_value(counter, before);
  const std::optional<double> to = numeric_value(counter, after);
  if (!from || !to) {
    return std::nullopt;
  }
  // Large sums differ by less than a double can hold, so integers are subtracted as integers.
  if (counter.data_type == TLY_DATA_TYPE_UINT64 && after.u64 >= before.u64) {
    return static_cast<double>(after.u64 - before.u64);
  }
  return *to >= *from && counter.data_type != TLY_DATA_TYPE_UINT64
             ? std::optional<double>(*to - *from)
             : std::nullopt;
}

std::string exact_text(const tly_counter_info_t& counter, const void* value) {
  if (value == nullptr) {
    return {};
  }
  if (counter.data_type == TLY_DATA_TYPE_STRING) {
    return std::string(string_of(counter, value));
  }
  const tly_counter_value_t number = load_value(counter, value);
  if (!has_value(counter, number)) {
    return {};
  }
  switch (counter.data_type) {
    case TLY_DATA_TYPE_FP64:
      return digits_of(number.fp64);
    case TLY_DATA_TYPE_UINT64:
      return digits_of(number.u64);
    case TLY_DATA_TYPE_BIT64:
      return "0x" + digits_of(number.u64, 16);
    default:
      return digits_of(number.i64);
  }
}

std::string display_text(const tly_counter_info_t& counter, const void* value) {
  // Beyond that, decimals mean nothing and the digits become many.
  constexpr double kMostWithDecimals = 1e12;
  if (value == nullptr) {
    return {};
  }
  const tly_counter_value_t number = load_value(counter, value);
  const bool has_decimals =
      counter.data_type == TLY_DATA_TYPE_FP64 && std::abs(number.fp64) < kMostWithDecimals;
  return has_decimals ? digits_of(number.fp64, std::chars_format::fixed, 3)
                      : exact_text(counter, value);
}

std::string json_text(const tly_counter_info_t& counter, const void* value) {
  if (value == nullptr) {
    return "null";
  }
  if (counter.data_type == TLY_DATA_TYPE_STRING) {
    return json_string(string_of(counter, value));
  }
  const tly_counter_value_t number = load_value(counter, value);
  if (counter.data_type == TLY_DATA_TYPE_BIT64) {
    return digits_of(number.u64);
  }
  const bool is_number = has_value(counter, number) &&
                         (counter.data_type != TLY_DATA_TYPE_FP64 || std::isfinite(number.fp64));
  return is_number ? exact_text(counter, value) : "null";
}

std::string short_number(double number) {
  constexpr std::array<const char*, 7> kSuffixes = {"", "k", "M", "G", "T", "P", "E"};
  double scaled = number;
  std::size_t suffix = 0;
  // 999.95 would be printed as 1000.0
  while (std::abs(scaled) >= 999.95 && suffix + 1 < kSuffixes.size()) {
    scaled /= 1000;
    ++suffix;
  }
  std::array<char, 32> text;
  if (!std::isfinite(number) || std::abs(scaled) >= 999.95 ||
      (number != 0 && std::abs(number) < 0.001)) {
    std::snprintf(text.data(), text.size(), "%.1e", number);
  } else if (number == std::trunc(number) && suffix == 0) {
    std::snprintf(text.data(), text.size(), "%.0f", number);
  } else {
    const int decimals = std::abs(scaled) < 10 ? 3 : std::abs(scaled) < 100 ? 2 : 1;
    std::snprintf(text.data(), text.size(), "%.*f%s", decimals, scaled, kSuffixes[suffix]);
  }
  return text.data();
}

std::string json_string(std::string_view text) {
  std::string result = "\"";
  while (!text.empty()) {
    const std::size_t length = utf8_character_length(text);
    const auto first = static_cast<unsigned char>(text.front());
    if (length == 0) {
      result += kReplacementCharacter;
    } else if (first == '"' || first == '\\') {
      result += '\\';
      result += text.front();
    } else if (const std::uint32_t code = utf8_code(text.substr(0, length)); is_control(code)) {
      std::array<char, 8> escape;
      std::snprintf(escape.data(), escape.size(), "\\u%04x", code & 0xFFFFU);
      result += escape.data();
    } else {
      result += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return result + '"';
}

std::string csv_field(std::string_view text) {
  const auto needs_quotes = [](char c) { return c == ',' || c == '"' || c == '\r' || c == '\n'; };
  if (std::ranges::none_of(text, needs_quotes)) {
    return std::string(text);
  }
  std::string result = "\"";
  for (const char c : text) {
    result.append(c == '"' ? 2 : 1, c);
  }
  return result + '"';
}

std::string utc_timestamp(std::chrono::system_clock::time_point time, int digits) {
  using std::chrono::nanoseconds;
  const auto second = std::chrono::floor<std::chrono::seconds>(time);
  const std::time_t seconds = std::chrono::system_clock::to_time_t(second);
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, 40> day_and_time;
  std::strftime(day_and_time.data(), day_and_time.size(), "%Y-%m-%dT%H:%M:%S", &parts);
  std::array<char, 24> fraction;
  std::snprintf(fraction.data(), fraction.size(), ".%09lld",
                static_cast<long long>(nanoseconds(time - second).count()));
  return std::string(day_and_time.data()) +
         std::string(fraction.data(), static_cast<std::size_t>(digits) + 1) + "Z";
}

}  // namespace tly::agent
