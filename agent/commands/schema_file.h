// Schema files: a schema's text, byte for byte, under the name that its id gives.
#pragma once

#include <string>
#include <string_view>

namespace tly::agent {

std::string schema_file_path(const std::string& directory, const std::string& id);

// Throws Failure when the file cannot be read.
std::string read_schema_file(const std::string& path);

// Whoever reads the path finds what was there before or the whole text. Throws Failure, and leaves
// what was there, when that is impossible.
void write_schema_file(const std::string& path, std::string_view text);

}  // namespace tly::agent
