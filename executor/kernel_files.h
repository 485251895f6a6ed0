// Reads the text files in which the kernel reports its figures.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tly::executor {

// The file's content, at a path or at one that counts from an open directory; false, with errno
// set, when it cannot be read. Keeps the string's memory.
bool read_kernel_file(const std::string& path, std::string& content);
bool read_kernel_file_at(int directory, const char* path, std::string& content);

// Takes the next line, without its end, off the text; false at the end.
bool take_line(std::string_view& text, std::string_view& line);

// The words of a line, which blanks and colons part; those beyond the capacity are left out.
class Words {
 public:
  explicit Words(std::string_view line);

  // Empty, and 0, beyond the last word; 0 also for what is no number.
  std::string_view text(std::size_t index) const {
    return index < count_ ? words_[index] : std::string_view();
  }
  std::uint64_t number(std::size_t index) const;

 private:
  std::array<std::string_view, 24> words_;
  std::size_t count_ = 0;
};

}  // namespace tly::executor
