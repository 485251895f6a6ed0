// The text of a packed version, without the interface's shared buffer.
#pragma once

#include <cstdint>

namespace tly {

// Large enough for any packed version: "255.255.65535".
struct VersionText {
  explicit VersionText(std::uint32_t version) noexcept;
  char text[16] = {};
};

}  // namespace tly
