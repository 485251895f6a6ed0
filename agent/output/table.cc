#include "output/table.h"

#include <algorithm>
#include <numeric>

#include "common/text.h"

namespace tly::agent {
namespace {

constexpr std::string_view kGap = "  ";
constexpr std::size_t kLeastShrunkWidth = 8;

std::string finish_line(std::string_view text, std::size_t width) {
  std::string line = cut(text, width);
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

}  // namespace

void Table::add_row(std::vector<std::string> cells) {
  for (std::string& cell : cells) {
    cell = printable(cell);
  }
  cells.resize(columns_.size());
  rows_.push_back(std::move(cells));
}

std::vector<std::size_t> Table::column_widths(std::size_t width) const {
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    std::size_t widest = std::max(columns_[i].least_width, display_width(columns_[i].heading));
    for (const std::vector<std::string>& row : rows_) {
      widest = std::max(widest, display_width(row[i]));
    }
    widths.push_back(widest);
  }
  const std::size_t gaps = columns_.empty() ? 0 : (columns_.size() - 1) * kGap.size();
  const std::size_t total = std::accumulate(widths.begin(), widths.end(), gaps);
  const auto shrinking = std::find_if(columns_.begin(), columns_.end(),
                                      [](const Column& column) { return column.may_shrink; });
  if (total > width && shrinking != columns_.end()) {
    std::size_t& shrunk = widths[static_cast<std::size_t>(shrinking - columns_.begin())];
    const std::size_t excess = total - width;
    shrunk =
        shrunk > excess + kLeastShrunkWidth ? shrunk - excess : std::min(shrunk, kLeastShrunkWidth);
  }
  return widths;
}

std::vector<std::string> Table::lines(std::size_t width, std::string_view ellipsis) const {
  const std::vector<std::size_t> widths = column_widths(width);
  std::vector<std::string> result;
  const auto add_line = [&](const auto& cell_at) {
    std::string line;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const std::string cell = fit(cell_at(i), widths[i], ellipsis);
      line += i == 0 ? std::string_view() : kGap;
      line += columns_[i].align == Align::kLeft ? pad_right(cell, widths[i])
                                                : pad_left(cell, widths[i]);
    }
    result.push_back(finish_line(line, width));
  };
  add_line([&](std::size_t i) -> const std::string& { return columns_[i].heading; });
  for (const std::vector<std::string>& row : rows_) {
    add_line([&](std::size_t i) -> const std::string& { return row[i]; });
  }
  return result;
}

}  // namespace tly::agent
