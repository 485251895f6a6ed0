#include "tallyra/version.h"

#include <cstdio>
#include <cstring>

#include "common/version_text.h"

namespace {

constexpr unsigned kMajor = 1;
constexpr unsigned kMinor = 21;
constexpr unsigned kPatch = 1;

constexpr uint32_t pack(uint32_t major, uint32_t minor, uint32_t patch) {
  return major | minor << 8 | patch << 16;
}

constexpr uint32_t major_of(uint32_t version) { return version & 255; }
constexpr uint32_t minor_of(uint32_t version) { return version >> 8 & 255; }
constexpr uint32_t patch_of(uint32_t version) { return version >> 16; }

}  // namespace

uint32_t tly_version(void) { return pack(kMajor, kMinor, kPatch); }

const char* tly_version_string(void) { return "1.21.1"; }

tly::VersionText::VersionText(std::uint32_t version) noexcept {
  std::snprintf(text, sizeof text, "%u.%u.%u", major_of(version), minor_of(version),
                patch_of(version));
}

const char* tly_version_to_string(uint32_t version) {
  static char text[sizeof(tly::VersionText)];
  std::memcpy(text, tly::VersionText(version).text, sizeof text);
  return text;
}

uint32_t tly_version_from_string(const char* text) {
  unsigned char major = 0;
  unsigned char minor = 0;
  unsigned short patch = 0;
  if (text == nullptr || std::sscanf(text, "%hhu.%hhu .%hu", &major, &minor, &patch) < 2) {
    return 0;
  }
  return pack(major, minor, patch);
}

int32_t tly_version_compare(uint32_t a, uint32_t b) {
  if (major_of(a) != major_of(b)) {
    return static_cast<int32_t>(major_of(a)) - static_cast<int32_t>(major_of(b));
  }
  return static_cast<int32_t>(minor_of(a)) - static_cast<int32_t>(minor_of(b));
}

bool tly_versions_are_compatible(uint32_t data, uint32_t reader) {
  return major_of(data) == major_of(reader) && minor_of(reader) >= minor_of(data);
}

bool tly_version_strings_are_compatible(const char* data, const char* reader) {
  const uint32_t data_version = tly_version_from_string(data);
  const uint32_t reader_version = tly_version_from_string(reader);
  return data_version != 0 && reader_version != 0 &&
         tly_versions_are_compatible(data_version, reader_version);
}
