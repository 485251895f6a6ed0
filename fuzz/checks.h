// What the fuzzers of readers share.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>

namespace tly::fuzz {

inline void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

inline constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

// A file of the given bytes that is on no disk.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view bytes) : descriptor_(memfd_create("fuzzed", MFD_CLOEXEC)) {
    require(descriptor_ >= 0 &&
            write(descriptor_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { close(descriptor_); }

  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

}  // namespace tly::fuzz
