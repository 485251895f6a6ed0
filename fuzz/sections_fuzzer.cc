// The sections of the tool's output, against a plain search for their headers.
#include "vintor/sections.h"

#include <algorithm>

#include "checks.h"
#include "vintor/header_scanner.h"

namespace {

using tly::fuzz::require;
using vintor::collector::SectionHeader;

// The header that a search with backtracking finds at or after `from`; false without one.
bool find_header(std::string_view text, std::size_t from, SectionHeader& header) {
  for (auto begin = text.find("===", from); begin != text.npos;
       begin = text.find("===", begin + 1)) {
    const auto name_begin = std::min(text.find_first_not_of(' ', begin + 3), text.size());
    const auto run_end =
        std::min(text.find_first_of(tly::fuzz::kWhiteSpace, name_begin), text.size());
    for (auto name_end = run_end; name_end > name_begin; --name_end) {
      const auto mark = std::min(text.find_first_not_of(' ', name_end), text.size());
      if (text.substr(mark).starts_with("===")) {
        header = {begin, mark + 3, text.substr(name_begin, name_end - name_begin)};
        return true;
      }
    }
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  std::vector<std::pair<std::uint64_t, std::uint64_t>> bodies;
  std::vector<std::string> names;
  const bool is_split = vintor::collector::split_sections(text.data(), size, bodies, names);
  std::size_t section = 0;
  SectionHeader header{};
  for (; find_header(text, header.end, header); ++section) {
    require(section < names.size() && names[section] == header.name);
    require(!is_split || bodies[section].first == header.end);
    require(section == 0 || bodies[section - 1].second == header.begin);
  }
  require(section == names.size());
  require(!is_split || section == 0 || bodies.back().second == size);
  require(is_split == (section == 0 ? size == 0 : header.end < size));
  return 0;
}
