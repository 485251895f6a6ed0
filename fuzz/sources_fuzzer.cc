// Sources from a text and from a file of the same bytes, and the lines of that file.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "checks.h"
#include "events/source_building.h"
#include "tallyra/string_array.h"

namespace {

using tly::SourceArrayPtr;
using tly::fuzz::kWhiteSpace;
using tly::fuzz::require;

// Whether the numbers in the text might give many sources, which takes long with a sanitizer.
bool gives_many(const char* text) {
  constexpr long kMany = 2000;
  std::vector<long> numbers{1};
  for (const char* at = text; *at != '\0';) {
    char* end = nullptr;
    const long number = std::strtol(at, &end, 0);
    if (end == at) {
      ++at;
    } else {
      numbers.push_back(std::labs(std::clamp<long>(number, INT32_MIN, INT32_MAX)));
      at = end;
    }
  }
  for (const long a : numbers) {
    if (std::any_of(numbers.begin(), numbers.end(),
                    [a](long b) { return b - a > kMany && b - a <= TLY_MAX_SOURCES; })) {
      return true;
    }
  }
  return false;
}

void check_array(const tly_source_array_t* array) {
  require(tly_source_array_log(array, "sources") == array->count);
  for (uint16_t i = 0; i < array->count; ++i) {
    const tly_source_t& source = *array->sources[i];
    require(std::memchr(source.id, '\0', sizeof source.id) != nullptr && source.tag[0] == '\0');
    char text[TLY_SOURCE_ID_SIZE + TLY_SOURCE_TAG_SIZE];
    const std::string expected = std::string(source.id) + ":";
    require(!tly_source_full_string(&source, text, expected.size()));
    require(tly_source_full_string(&source, text, expected.size() + 1) && text == expected);
  }
}

// "base_number", the numbers one after another.
void check_numbered(const char* text) {
  const SourceArrayPtr array(tly_create_source_array_from_string(text));
  if (array == nullptr) {
    return;
  }
  check_array(array.get());
  require(array->count > 0);
  long long previous = 0;
  for (uint16_t i = 0; i < array->count; ++i) {
    const std::string_view id = array->sources[i]->id;
    if (id.size() + 1 == TLY_SOURCE_ID_SIZE) {
      return;  // cut
    }
    const long long number = std::strtoll(id.data() + id.rfind('_') + 1, nullptr, 10);
    require(i == 0 || number == previous + 1);
    previous = number;
  }
}

// The ids that the pieces of a file name. Lines are read in pieces of 1,023 bytes, each of which a
// NUL ends.
std::vector<std::string> expected_ids(std::string_view bytes) {
  std::vector<std::string> pieces;
  while (!bytes.empty()) {
    const std::size_t line = std::min(bytes.find('\n'), bytes.size() - 1) + 1;
    const std::string_view piece = bytes.substr(0, std::min<std::size_t>(line, 1023));
    pieces.emplace_back(piece.substr(0, piece.find('\0')));
    bytes.remove_prefix(piece.size());
  }
  const bool names_devices = std::any_of(pieces.begin(), pieces.end(), [](const auto& piece) {
    return piece.find("H-") != piece.npos || piece.find("S-") != piece.npos;
  });
  std::vector<std::string> ids;
  for (const std::string& piece : pieces) {
    const std::size_t begin = names_devices ? piece.find('(') + 1 : piece.find_first_not_of("\r\n");
    const std::size_t end = names_devices
                                ? piece.find(')')
                                : std::min(piece.find_first_of("\r\n", begin), piece.size());
    const bool has_id =
        names_devices ? begin > 0 && end != piece.npos && end >= begin : begin != piece.npos;
    if (has_id) {
      ids.push_back(
          piece.substr(begin, std::min<std::size_t>(end - begin, TLY_SOURCE_ID_SIZE - 1)));
    }
  }
  return ids;
}

// The lines, each up to a NUL, without white space around them.
std::vector<std::string> expected_lines(const std::string& bytes) {
  std::vector<std::string> lines;
  for (std::size_t begin = 0, end = 0; end != bytes.npos; begin = end + 1) {
    end = bytes.find('\n', begin);
    const std::string line = bytes.substr(begin, end - begin).c_str();
    const std::size_t first = line.find_first_not_of(kWhiteSpace);
    if (first != line.npos && line[first] != '#') {
      lines.push_back(line.substr(first, line.find_last_not_of(kWhiteSpace) + 1 - first));
    }
  }
  return lines;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(data, data + size);
  setenv("TLY_SOURCE_ID", "host", 1);
  if (!gives_many(bytes.c_str())) {
    check_numbered(bytes.c_str());
  }
  const tly::fuzz::MemoryFile file(bytes);
  const SourceArrayPtr array(tly_create_source_array_from_input(file.path().c_str()));
  require(array != nullptr);
  check_array(array.get());
  const std::vector<std::string> ids = expected_ids(bytes);
  require(std::equal(ids.begin(), ids.end(), array->sources, array->sources + array->count,
                     [](const auto& id, const auto* source) { return id == source->id; }));

  const std::vector<std::string> lines = expected_lines(bytes);
  tly_string_array_t* read = tly_init_string_array();
  require(tly_string_array_append_file_lines(&read, file.path().c_str(), "lines"));
  require(std::equal(lines.begin(), lines.end(), read->strings, read->strings + read->count));
  tly_free_string_array(read);
  return 0;
}
