// Finds the section headers in the tool's output.
//
// A header is a match of the expression  === *(\S+) *===  as a backtracking search finds it: from
// the left, every repetition as long as possible. Blanks are spaces only; the name may hold any
// byte that is not white space of the C locale. The scan takes time linear in the text and no
// memory.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace vintor::collector {

struct SectionHeader {
  std::size_t begin;  // position of the header's first byte
  std::size_t end;    // position after its last byte
  std::string_view name;
};

class HeaderScanner {
 public:
  // The text must outlive the scanner and the headers it returns.
  explicit HeaderScanner(std::string_view text) : text_(text) {}

  // The next header from left to right; headers do not overlap.
  std::optional<SectionHeader> next();

 private:
  // A stretch without white space that cannot be extended to the right, measured once.
  struct Run {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t last_mark = std::string_view::npos;  // where the last "===" inside begins
    std::size_t after_blanks = 0;                    // the first position after it that is no blank
  };

  Run measure(std::size_t begin) const;
  bool enter_run();
  bool enter_following_run();
  std::size_t find_mark(std::size_t from) const;
  std::optional<SectionHeader> header_at(std::size_t mark);

  std::string_view text_;
  std::size_t position_ = 0;  // everything before it has been searched
  Run run_;                   // the run under search
  Run following_;             // the run after it, once a header has looked that far
};

}  // namespace vintor::collector
