// The readers of short texts: numbers, GUIDs, schema ids, versions, settings, identities.
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>

#include "checks.h"
#include "common/owned.h"
#include "common/settings_number.h"
#include "common/version_text.h"
#include "tallyra/client_id.h"
#include "tallyra/schema_id.h"
#include "tallyra/settings.h"
#include "tallyra/sources.h"
#include "tallyra/string_utils.h"
#include "tallyra/version.h"

namespace {

using tly::fuzz::require;

// A narrow number is the wide one when that fits, else nothing is written.
template <typename Number, typename Wide>
void check_narrow(bool (*read)(const char*, Number*), const char* text, bool has_wide, Wide wide) {
  Number number = 42;
  const bool fits = has_wide && wide >= std::numeric_limits<Number>::min() &&
                    wide <= std::numeric_limits<Number>::max();
  require(read(text, &number) == fits && number == (fits ? static_cast<Number>(wide) : 42));
}

void check_numbers(const char* text, std::size_t length) {
  int64_t i64 = 42;
  uint64_t u64 = 42;
  const bool has_i64 = string_to_long_long(text, &i64);
  const bool has_u64 = string_to_unsigned_long_long(text, &u64);
  require(!has_i64 || (has_u64 && u64 == static_cast<uint64_t>(i64)));
  check_narrow(&string_to_long, text, has_i64, i64);
  check_narrow(&string_to_unsigned_long, text, has_u64, u64);
  check_narrow(&string_to_sizet, text, has_u64, u64);
  check_narrow(&string_to_u64, text, has_u64, u64);
  check_narrow(&string_to_u32, text, has_u64, u64);
  check_narrow(&string_to_u16, text, has_u64, u64);
  check_narrow(&string_to_u8, text, has_u64, u64);
  int64_t again = 0;
  require(!has_i64 || (string_to_long(std::to_string(i64).c_str(), &again) && again == i64));

  const std::string half(text, length / 2);
  const bool has_half = string_to_long(half.c_str(), &i64);
  int32_t i32 = 0;
  require(bounded_string_to_int(text, half.size(), &i32) ==
          (has_half && i64 >= INT32_MIN && i64 <= INT32_MAX));
  require(i32 == 0 || i32 == i64);
}

bool is_hex(char byte) { return std::isxdigit(static_cast<unsigned char>(byte)) != 0; }

void check_ids(const std::string& text) {
  uint8_t guid[16] = {};
  std::string digits = text;
  std::erase(digits, '-');
  const bool is_hex_only = std::all_of(digits.begin(), digits.end(), &is_hex);
  const bool is_guid = string_to_guid(text.c_str(), guid);
  require(is_guid == (is_hex_only && (digits.size() | 1) == 33));  // an odd digit is ignored
  tly_schema_id_t id{};
  if (is_guid) {
    require(tly_schema_from_id_string(digits.c_str(), &id));
    require(std::memcmp(id.bytes, guid, sizeof guid) == 0);
  }
  const bool is_id = tly_schema_from_id_string(text.c_str(), &id);
  require(is_id == (text.size() >= 32 && std::all_of(text.begin(), text.begin() + 32, &is_hex)));
  if (is_id) {
    const tly::OwnedString written(tly_schema_id_string(&id));
    require(strncasecmp(written.get(), text.c_str(), 32) == 0 && std::strlen(written.get()) == 32);
  }
}

void check_version(const char* text) {
  const uint32_t version = tly_version_from_string(text);
  require(tly_version_from_string(tly_version_to_string(version)) == version);
  require(std::strcmp(tly::VersionText(version).text, tly_version_to_string(version)) == 0);
  require(tly_version_strings_are_compatible(text, text) == (version != 0));
}

// Does what setenv(3) does, which would keep every text for ever.
void set_variable(const std::string& name, const std::string& value) {
  static auto& variables = *new std::map<std::string, std::string>;
  unsetenv(name.c_str());
  std::string& variable = variables[name];
  variable = name + "=" + value;
  putenv(variable.data());
}

void check_environment(const std::string& text) {
  set_variable("TLY_FUZZED", text);
  set_variable("FUZZED", text.substr(text.size() / 2));
  require(tly_getenv("FUZZED") == text);
  const bool says_yes = !text.empty() && std::strchr("yY1tT", text[0]) != nullptr;
  require(tly_getenv_bool("FUZZED", true) == (says_yes || text.empty()));
  require(tly_getenv_bool("FUZZED", false) == says_yes);
  long long number = 0;
  const bool has_number =
      std::sscanf(text.c_str(), "%lld", &number) == 1 && number >= INT32_MIN && number <= INT32_MAX;
  require(tly::setting_as_int32("FUZZED", 42) == (has_number ? number : 42));

  set_variable("TLY_HOST_NAME", text);
  set_variable("TLY_SOURCE_ID", text);
  const tly::OwnedHeap<tly_client_id_t> client(tly_client_id_allocate());
  const tly::OwnedHeap<tly_source_t> source(tly_create_default_source(text.c_str()));
  require(text.substr(0, sizeof client->host_name - 1) == client->host_name);
  require(text.substr(0, sizeof source->id - 1) == source->id);
  require(text.substr(0, sizeof source->tag - 1) == source->tag);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = std::string(data, data + size).c_str();
  check_numbers(text.c_str(), text.size());
  check_ids(text);
  check_version(text.c_str());
  check_environment(text);
  return 0;
}
