#include "vintor/sections.h"

#include <string_view>

#include "common/log.h"
#include "vintor/header_scanner.h"

namespace vintor::collector {

bool split_sections(const char* text, std::uint64_t length,
                    std::vector<std::pair<std::uint64_t, std::uint64_t>>& offsets,
                    std::vector<std::string>& names) {
  std::uint64_t body_begin = 0;  // 0: no header yet, since a body begins after its header
  HeaderScanner scanner(std::string_view(text, length));
  while (const auto header = scanner.next()) {
    names.emplace_back(header->name);
    if (body_begin != 0) {
      offsets.emplace_back(body_begin, header->begin);
    }
    body_begin = header->end;
  }
  if (length > body_begin) {
    offsets.emplace_back(body_begin, length);
  }
  if (offsets.size() != names.size()) {
    TLY_LOG_ERROR(
        "[vintor] Failed to split the input JSON into sections - got %zu offsets and %zu names",
        offsets.size(), names.size());
    return false;
  }
  return true;
}

}  // namespace vintor::collector
