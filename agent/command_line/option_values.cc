#include "command_line/option_values.h"

#include <charconv>
#include <map>
#include <system_error>

#include "tallyra/logging.h"
#include "tallyra/schema_id.h"

namespace tly::agent {
namespace {

const std::map<std::string, std::uint32_t> kLogLevels = {{"none", 0},
                                                         {"error", TLY_LOG_LEVEL_ERROR},
                                                         {"warning", TLY_LOG_LEVEL_WARNING},
                                                         {"info", TLY_LOG_LEVEL_INFO},
                                                         {"debug", TLY_LOG_LEVEL_DEBUG}};

const std::map<std::string, Format> kFormats = {
    {"table", Format::kTable}, {"json", Format::kJson}, {"csv", Format::kCsv}};

}  // namespace

std::optional<std::uint64_t> parse_count(const std::string& text) {
  std::uint64_t count = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, count);
  return error == std::errc() && rest == end ? std::optional(count) : std::nullopt;
}

std::optional<std::uint32_t> parse_log_level(const std::string& text) {
  const auto named = kLogLevels.find(text);
  if (named != kLogLevels.end()) {
    return named->second;
  }
  const std::optional<std::uint64_t> number = parse_count(text);
  const bool is_level = number && *number <= TLY_LOG_LEVEL_DEBUG;
  return is_level ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt;
}

std::optional<Format> parse_format(const std::string& text) {
  const auto named = kFormats.find(text);
  return named != kFormats.end() ? std::optional(named->second) : std::nullopt;
}

std::optional<std::string> parse_schema_id(const std::string& text) {
  const bool is_id = text.size() == TLY_SCHEMA_ID_STRING_SIZE - 1 &&
                     text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos &&
                     text.find_first_not_of('0') != std::string::npos;
  return is_id ? std::optional(text) : std::nullopt;
}

}  // namespace tly::agent
