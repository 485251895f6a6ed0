#include "common/duration.h"

#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

namespace tly::agent {
namespace {

using std::chrono::nanoseconds;

struct Unit {
  std::string_view name;
  double length_ns;
};

constexpr std::array<Unit, 5> kUnits = {
    {{"", 1e9}, {"ms", 1e6}, {"s", 1e9}, {"m", 60e9}, {"h", 3600e9}}};

constexpr double kShortest_ns = 1e6;
constexpr double kLongest_ns = 24 * 3600e9;

}  // namespace

std::optional<nanoseconds> parse_duration(std::string_view text) {
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (error != std::errc()) {
    return std::nullopt;
  }
  const std::string_view name(rest, static_cast<std::size_t>(end - rest));
  for (const Unit& unit : kUnits) {
    const double length_ns = number * unit.length_ns;
    if (name == unit.name && length_ns >= kShortest_ns && length_ns <= kLongest_ns) {
      return nanoseconds(std::llround(length_ns));
    }
  }
  return std::nullopt;
}

std::string duration_text(nanoseconds duration) {
  const bool in_seconds = duration >= std::chrono::seconds(1);
  const double number = static_cast<double>(duration.count()) / (in_seconds ? 1e9 : 1e6);
  std::array<char, 32> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  return std::string(digits.data(), result.ptr) + (in_seconds ? "s" : "ms");
}

}  // namespace tly::agent
