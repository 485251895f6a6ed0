#include "tallyra/settings.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

#include "common/log.h"
#include "common/owned.h"

namespace {

constexpr char kPrefix[] = "TLY_";
constexpr std::size_t kPrefixLength = sizeof(kPrefix) - 1;

// The logger reads this setting to learn its own level, so nothing may be logged about it.
constexpr char kLogLevelName[] = "TLY_API_LOG_LEVEL";

// The two names of a setting. Names of usual length need no heap, so that the settings of the
// library are found also when memory has run out.
class SettingNames {
 public:
  explicit SettingNames(const char* name) noexcept {
    if (std::strncmp(name, kPrefix, kPrefixLength) == 0) {
      prefixed_ = name;
      plain_ = name + kPrefixLength;
      return;
    }
    const std::size_t size = std::strlen(name) + kPrefixLength + 1;
    char* buffer = short_;
    if (size > sizeof(short_)) {
      long_.reset(static_cast<char*>(std::malloc(size)));
      buffer = long_.get();
    }
    if (buffer != nullptr) {
      std::memcpy(buffer, kPrefix, kPrefixLength);
      std::memcpy(buffer + kPrefixLength, name, size - kPrefixLength);
    }
    prefixed_ = buffer;
    plain_ = name;
  }
  SettingNames(const SettingNames&) = delete;
  SettingNames& operator=(const SettingNames&) = delete;

  // Null when memory ran out.
  const char* prefixed() const noexcept { return prefixed_; }
  const char* plain() const noexcept { return plain_; }

 private:
  char short_[128];
  tly::OwnedString long_;
  const char* prefixed_;
  const char* plain_;
};

}  // namespace

const char* tly_getenv(const char* name) {
  if (name == nullptr) {
    return nullptr;
  }
  const SettingNames names(name);
  if (names.prefixed() == nullptr) {
    return nullptr;
  }
  const char* const prefixed_value = std::getenv(names.prefixed());
  const char* const plain_value = std::getenv(names.plain());
  if (std::strcmp(name, kLogLevelName) == 0) {
    return prefixed_value != nullptr ? prefixed_value : plain_value;
  }
  if (prefixed_value != nullptr) {
    if (plain_value != nullptr && std::strcmp(prefixed_value, plain_value) != 0) {
      TLY_LOG_WARNING("[%s] Environment variables conflict - %s=%s and %s=%s. Using %s",
                      "tly_getenv", names.prefixed(), prefixed_value, names.plain(), plain_value,
                      names.prefixed());
    }
    TLY_LOG_DEBUG("[%s] Using '%s'='%s'", "tly_getenv", names.prefixed(), prefixed_value);
    return prefixed_value;
  }
  if (plain_value != nullptr) {
    TLY_LOG_DEBUG("[%s] Using '%s'='%s'", "tly_getenv", names.plain(), plain_value);
    return plain_value;
  }
  TLY_LOG_DEBUG("[%s] No value for '%s' or '%s'", "tly_getenv", names.prefixed(), names.plain());
  return nullptr;
}

bool tly_getenv_bool(const char* name, bool default_value) {
  const char* const value = tly_getenv(name);
  if (value == nullptr || *value == '\0') {
    return default_value;
  }
  const int first = std::tolower(static_cast<unsigned char>(*value));
  return first == 'y' || first == '1' || first == 't';
}
