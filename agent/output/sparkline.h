// A trend drawn in one line of text.
#pragma once

#include <cstddef>
#include <deque>
#include <string>

namespace tly::agent {

// The last `width` points as bars between the smallest and the largest of them, the newest on the
// right. A point that is not finite leaves a blank; points that are all equal are drawn lowest.
// Without Unicode the bars are ASCII characters of growing weight.
std::string sparkline(const std::deque<double>& points, std::size_t width, bool unicode);

}  // namespace tly::agent
