// Sources from texts: numbered ones, and the lines of files.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "common/log.h"
#include "common/printable.h"
#include "events/source_building.h"
#include "tallyra/string_utils.h"

namespace {

using OwnedFile = tly::Owned<FILE, &std::fclose>;

constexpr size_t kPieceSize = 1024;

enum class Reading { kStopped, kReachedEnd, kFailed };

// Runs take(piece) on each line's text, which a NUL ends, or on its pieces, until one returns
// false. What can be opened but not read, as a directory, fails as what cannot be opened, with an
// error message that calls it by its kind.
template <typename Take>
Reading read_pieces(const char* path, const char* kind, Take take) noexcept {
  const OwnedFile file(std::fopen(path, "re"));
  char piece[kPieceSize];
  while (file && std::fgets(piece, sizeof piece, file.get()) != nullptr) {
    if (!take(std::string_view(piece))) {
      return Reading::kStopped;
    }
  }
  if (!file || std::ferror(file.get()) != 0) {
    TLY_LOG_ERROR("[source] Failed to open %s: %s", kind, path);
    return Reading::kFailed;
  }
  return Reading::kReachedEnd;
}

bool is_device_list(const char* path) noexcept {
  const Reading reading = read_pieces(path, "file", [](std::string_view piece) {
    return piece.find("H-") == piece.npos && piece.find("S-") == piece.npos;
  });
  return reading == Reading::kStopped;
}

// Both append the source that a piece names, if it names one; false when that fails.
bool append_device(tly_source_array_t* array, std::string_view piece) noexcept {
  const size_t opening = piece.find('(');
  const size_t closing = piece.find(')');
  if (opening == piece.npos || closing == piece.npos || closing < opening) {
    return true;
  }
  return tly::append_new_source(array, piece.substr(opening + 1, closing - opening - 1));
}

bool append_line(tly_source_array_t* array, std::string_view piece) noexcept {
  constexpr std::string_view kLineEnds = "\r\n";
  const size_t start = piece.find_first_not_of(kLineEnds);
  if (start == piece.npos) {
    return true;
  }
  const size_t end = piece.find_first_of(kLineEnds, start);
  return tly::append_new_source(array, piece.substr(start, end - start));
}

struct FileKind {
  const char* name;
  bool (*append)(tly_source_array_t* array, std::string_view piece) noexcept;
};
constexpr FileKind kDeviceList{"meshdiag file", &append_device};
constexpr FileKind kTextFile{"text file", &append_line};

tly_source_array_t* create_from_file(const char* path, const FileKind& kind) noexcept {
  tly::SourceArrayPtr array(tly_create_source_array());
  const Reading reading = read_pieces(
      path, kind.name, [&](std::string_view piece) { return kind.append(array.get(), piece); });
  return reading == Reading::kReachedEnd ? array.release() : nullptr;
}

struct Numbering {
  bool has_prefix = false;
  std::string_view prefix;
  int32_t first = 1;
  int32_t last = 0;
};

bool read_number(std::string_view text, int32_t& number) noexcept {
  return bounded_string_to_int(text.data(), text.size(), &number);
}

bool read_numbering(std::string_view text, Numbering& numbering) noexcept {
  const size_t dash = text.find('-');
  if (dash == text.npos) {
    return read_number(text, numbering.last) && numbering.first <= numbering.last;
  }
  const size_t opening = text.find('[');
  const size_t closing = text.find(']');
  size_t start = 0;
  size_t end = text.size();
  if (opening != text.npos && closing != text.npos) {
    if (opening > dash || dash > closing) {
      return false;
    }
    numbering.has_prefix = true;
    numbering.prefix = text.substr(0, opening);
    start = opening + 1;
    end = closing;
  }
  return read_number(text.substr(start, dash - start), numbering.first) &&
         read_number(text.substr(dash + 1, end - dash - 1), numbering.last) &&
         numbering.first <= numbering.last;
}

// The prefix, cut to fit; null, with an error message, when memory runs out.
tly::OwnedString copy_prefix(std::string_view prefix) noexcept {
  constexpr size_t kLongest = TLY_SOURCE_ID_SIZE - 1;
  tly::OwnedString copy(strndup(prefix.data(), std::min(prefix.size(), kLongest)));
  if (!copy) {
    TLY_LOG_ERROR("[source] Failed to allocate memory");
  }
  return copy;
}

tly_source_array_t* create_numbered(const char* base, int32_t first, int32_t last) noexcept {
  if (int64_t{last} - first >= TLY_MAX_SOURCES) {
    return nullptr;
  }
  tly::SourceArrayPtr array(tly_create_source_array());
  for (int64_t number = first; number <= last; ++number) {
    char id[TLY_SOURCE_ID_SIZE + sizeof "_-2147483648"];
    const int length = std::snprintf(id, sizeof id, "%s_%d", base, static_cast<int>(number));
    if (!tly::append_new_source(array.get(), {id, static_cast<size_t>(length)})) {
      return nullptr;
    }
  }
  return array.release();
}

}  // namespace

tly_source_array_t* tly_create_source_array_from_string(const char* text) {
  Numbering numbering;
  if (text == nullptr || !read_numbering(text, numbering)) {
    TLY_LOG_ERROR("[source] Invalid source format: %s", tly::printable(text));
    return nullptr;
  }
  if (numbering.has_prefix) {
    const tly::OwnedString base = copy_prefix(numbering.prefix);
    return base ? create_numbered(base.get(), numbering.first, numbering.last) : nullptr;
  }
  tly::SourceId base;
  return tly::read_default_source_id(base) ? create_numbered(base, numbering.first, numbering.last)
                                           : nullptr;
}

tly_source_array_t* tly_create_source_array_from_input(const char* text) {
  if (text == nullptr || access(text, F_OK) != 0) {
    return tly_create_source_array_from_string(text);
  }
  return create_from_file(text, is_device_list(text) ? kDeviceList : kTextFile);
}
