#include <algorithm>
#include <cstddef>
#include <cstring>

#include "common/log.h"

namespace {

constexpr std::size_t kBytesPerLine = 16;
constexpr std::size_t kGroupSize = 8;
// Three columns a byte and a blank after each group.
constexpr std::size_t kHexWidth = 3 * kBytesPerLine + kBytesPerLine / kGroupSize;

// Writes one line of 1 to 16 bytes: the codes padded to their full width, then the characters.
void assemble_line(const unsigned char* bytes, std::size_t count, char (&line)[100]) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  constexpr char kSeparator[] = "|  ";
  constexpr std::size_t kTextColumn = kHexWidth + sizeof(kSeparator) - 1;
  static_assert(kTextColumn + kBytesPerLine + sizeof(" ") <= sizeof(line));

  std::memset(line, ' ', sizeof(line));
  std::memcpy(line + kHexWidth, kSeparator, sizeof(kSeparator) - 1);
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned char byte = bytes[i];
    char* const code = line + 3 * i + i / kGroupSize;
    code[0] = kDigits[byte >> 4];
    code[1] = kDigits[byte & 0xF];
    line[kTextColumn + i] = byte >= 0x20 && byte <= 0x7E ? static_cast<char>(byte) : '.';
  }
  line[kTextColumn + count + 1] = '\0';
}

}  // namespace

void log_hex(const void* data, uint64_t length) {
  if (!tly_log_is_enabled(TLY_LOG_LEVEL_DEBUG) || data == nullptr) {
    return;
  }
  const auto* bytes = static_cast<const unsigned char*>(data);
  while (length > 0) {
    const std::size_t count = std::min<uint64_t>(length, kBytesPerLine);
    char line[100];
    assemble_line(bytes, count, line);
    TLY_LOG_DEBUG("%s", line);
    bytes += count;
    length -= count;
  }
}
