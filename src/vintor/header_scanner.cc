#include "vintor/header_scanner.h"

#include <algorithm>

namespace vintor::collector {
namespace {

constexpr std::string_view kMark = "===";

constexpr bool is_space(char byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }

}  // namespace

HeaderScanner::Run HeaderScanner::measure(std::size_t begin) const {
  const char* const text = text_.data();
  const std::size_t size = text_.size();
  Run run{.begin = begin, .end = begin};
  std::size_t equals_signs = 0;  // that end at the present byte
  for (; run.end < size && !is_space(text[run.end]); ++run.end) {
    equals_signs = text[run.end] == kMark.front() ? equals_signs + 1 : 0;
    if (equals_signs >= kMark.size()) {
      run.last_mark = run.end + 1 - kMark.size();
    }
  }
  run.after_blanks = run.end;
  while (run.after_blanks < size && text[run.after_blanks] == ' ') {
    ++run.after_blanks;
  }
  return run;
}

// Makes the run with the next mark the current one, from the search position on; false when there
// is no further mark.
bool HeaderScanner::enter_run() {
  if (position_ < run_.end) {
    return true;
  }
  position_ = text_.find(kMark, position_);
  if (position_ == std::string_view::npos) {
    return false;
  }
  const bool is_measured = following_.begin <= position_ && position_ < following_.end;
  run_ = is_measured ? following_ : measure(position_);
  return true;
}

// Measures the run that only blanks part from the current one; false when there is none.
bool HeaderScanner::enter_following_run() {
  const std::size_t begin = run_.after_blanks;
  if (begin == run_.end || begin == text_.size() || is_space(text_[begin])) {
    return false;
  }
  following_ = measure(begin);
  return true;
}

std::size_t HeaderScanner::find_mark(std::size_t from) const {
  if (run_.last_mark == std::string_view::npos || from > run_.last_mark) {
    return std::string_view::npos;
  }
  // Never looks beyond the run: that would search the rest of the text once per run.
  return text_.substr(0, run_.end).find(kMark, from);
}

// The header whose opening mark is at `mark`. Its name is as long as possible: the rest of the run
// when blanks and a mark follow it, else the part up to the last mark inside the run.
std::optional<SectionHeader> HeaderScanner::header_at(std::size_t mark) {
  std::size_t name_begin = mark + kMark.size();
  const bool name_is_apart = name_begin == run_.end;
  if (name_is_apart && !enter_following_run()) {
    return std::nullopt;
  }
  const Run& run = name_is_apart ? following_ : run_;
  name_begin = std::max(name_begin, run.begin);

  std::size_t name_end = run.end;
  std::size_t closing_mark = run.after_blanks;
  if (closing_mark == run.end || !text_.substr(closing_mark).starts_with(kMark)) {
    if (run.last_mark == std::string_view::npos || run.last_mark <= name_begin) {
      return std::nullopt;
    }
    name_end = closing_mark = run.last_mark;
  }
  return SectionHeader{.begin = mark,
                       .end = closing_mark + kMark.size(),
                       .name = text_.substr(name_begin, name_end - name_begin)};
}

std::optional<SectionHeader> HeaderScanner::next() {
  while (enter_run()) {
    for (std::size_t mark = find_mark(position_); mark != std::string_view::npos;
         mark = find_mark(mark + 1)) {
      if (const std::optional<SectionHeader> header = header_at(mark)) {
        position_ = header->end;
        return header;
      }
    }
    position_ = run_.end;
  }
  return std::nullopt;
}

}  // namespace vintor::collector
