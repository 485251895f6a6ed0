// A table of text cells with one line of headings.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tly::agent {

enum class Align { kLeft, kRight };

struct Column {
  std::string heading;
  Align align = Align::kLeft;
  std::size_t least_width = 0;
  // A column that may be cut when the table is wider than allowed; the first such one is cut.
  bool may_shrink = false;
};

class Table {
 public:
  static constexpr std::size_t kUnlimited = static_cast<std::size_t>(-1);

  explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

  // One cell per column; cells are made printable here.
  void add_row(std::vector<std::string> cells);

  // The headings and the rows as lines without trailing blanks, none wider than `width`: first the
  // column that may shrink gives way, then what is left is cut off.
  std::vector<std::string> lines(std::size_t width, std::string_view ellipsis) const;

 private:
  std::vector<std::size_t> column_widths(std::size_t width) const;

  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace tly::agent
