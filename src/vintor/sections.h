// The tool's output as named sections.
//
// A section is a header, "=== name ===", and a body that runs up to the next header or the end of
// the output. Text before the first header is ignored.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vintor::collector {

// Appends the byte range (begin, end) of each section's body and its name, in the order of the
// text, which is only read. False when ranges and names differ in number: for a text without a
// header, unless it is empty, and for one that ends in a header.
bool split_sections(const char* text, std::uint64_t length,
                    std::vector<std::pair<std::uint64_t, std::uint64_t>>& offsets,
                    std::vector<std::string>& names);

}  // namespace vintor::collector
