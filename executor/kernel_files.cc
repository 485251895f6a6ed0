#include "executor/kernel_files.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <charconv>

#include "executor/descriptor.h"

namespace tly::executor {

bool read_kernel_file(const std::string& path, std::string& content) {
  return read_kernel_file_at(AT_FDCWD, path.c_str(), content);
}

bool read_kernel_file_at(int directory, const char* path, std::string& content) {
  content.clear();
  const Descriptor file(openat(directory, path, O_RDONLY | O_CLOEXEC));
  while (file.is_open()) {
    char piece[8192];
    const ssize_t length = read(file.number(), piece, sizeof piece);
    if (length == 0) {
      return true;
    }
    if (length > 0) {
      content.append(piece, static_cast<std::size_t>(length));
    } else if (errno != EINTR) {
      return false;
    }
  }
  return false;
}

bool take_line(std::string_view& text, std::string_view& line) {
  if (text.empty()) {
    return false;
  }
  const std::size_t end = std::min(text.find('\n'), text.size());
  line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return true;
}

Words::Words(std::string_view line) {
  constexpr std::string_view kSeparators = " \t:";
  std::size_t start = line.find_first_not_of(kSeparators);
  while (start != std::string_view::npos && count_ < words_.size()) {
    const std::size_t end = std::min(line.find_first_of(kSeparators, start), line.size());
    words_[count_++] = line.substr(start, end - start);
    start = line.find_first_not_of(kSeparators, end);
  }
}

std::uint64_t Words::number(std::size_t index) const {
  const std::string_view word = text(index);
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  return error == std::errc() && end == word.data() + word.size() ? value : 0;
}

}  // namespace tly::executor
