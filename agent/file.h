// Whole files, read and replaced.
#pragma once

#include <string>
#include <string_view>

namespace tly::agent {

// Throws Failure when the file cannot be read.
std::string read_file(const std::string& path);

// Whoever reads the path finds the old file or the new one, never a part of it. Throws Failure, and
// leaves what was there, when that is impossible.
void replace_file(const std::string& path, std::string_view text);

}  // namespace tly::agent
