#include "output/sparkline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string_view>

namespace tly::agent {
namespace {

constexpr std::size_t kSteps = 8;
constexpr std::array<std::string_view, kSteps> kBlocks = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::array<std::string_view, kSteps> kAscii = {"_", ".", "-", ":", "=", "+", "*", "#"};

}  // namespace

std::string sparkline(const std::deque<double>& points, std::size_t width, bool unicode) {
  const std::size_t count = std::min(points.size(), width);
  const auto first = points.end() - static_cast<std::ptrdiff_t>(count);
  double lowest = std::numeric_limits<double>::infinity();
  double highest = -lowest;
  for (auto point = first; point != points.end(); ++point) {
    if (std::isfinite(*point)) {
      lowest = std::min(lowest, *point);
      highest = std::max(highest, *point);
    }
  }
  std::string line(width - count, ' ');
  for (auto point = first; point != points.end(); ++point) {
    if (!std::isfinite(*point)) {
      line += ' ';
      continue;
    }
    // Halved, so that the range of the largest doubles stays finite.
    const double range = highest / 2 - lowest / 2;
    const double share = range > 0 ? (*point / 2 - lowest / 2) / range : 0;
    const auto step =
        static_cast<std::size_t>(std::lround(share * static_cast<double>(kSteps - 1)));
    line += (unicode ? kBlocks : kAscii)[std::min(step, kSteps - 1)];
  }
  return line;
}

}  // namespace tly::agent
