#include "command_line/option_values.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>
#include <system_error>

#include "tallyra/logging.h"
#include "tallyra/schema_id.h"

namespace tly::agent {
namespace {

template <typename Value>
struct Named {
  std::string_view name;
  Value value;
};

constexpr Named<std::uint32_t> kLogLevels[] = {{"none", 0},
                                               {"error", TLY_LOG_LEVEL_ERROR},
                                               {"warning", TLY_LOG_LEVEL_WARNING},
                                               {"info", TLY_LOG_LEVEL_INFO},
                                               {"debug", TLY_LOG_LEVEL_DEBUG}};

constexpr Named<Format> kFormats[] = {
    {"table", Format::kTable}, {"json", Format::kJson}, {"csv", Format::kCsv}};

template <typename Value, std::size_t count>
std::optional<Value> find_named(const Named<Value> (&table)[count], const std::string& text) {
  const auto* const found = std::find_if(std::begin(table), std::end(table),
                                         [&](const auto& named) { return named.name == text; });
  return found != std::end(table) ? std::optional(found->value) : std::nullopt;
}

}  // namespace

std::optional<std::uint64_t> parse_count(const std::string& text) {
  std::uint64_t count = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, count);
  return error == std::errc() && rest == end ? std::optional(count) : std::nullopt;
}

std::optional<std::uint32_t> parse_log_level(const std::string& text) {
  if (const std::optional<std::uint32_t> named = find_named(kLogLevels, text)) {
    return named;
  }
  const std::optional<std::uint64_t> number = parse_count(text);
  const bool is_level = number && *number <= TLY_LOG_LEVEL_DEBUG;
  return is_level ? std::optional(static_cast<std::uint32_t>(*number)) : std::nullopt;
}

std::optional<Format> parse_format(const std::string& text) { return find_named(kFormats, text); }

std::optional<std::string> parse_schema_id(const std::string& text) {
  const bool is_id = text.size() == TLY_SCHEMA_ID_STRING_SIZE - 1 &&
                     text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos &&
                     text.find_first_not_of('0') != std::string::npos;
  return is_id ? std::optional(text) : std::nullopt;
}

}  // namespace tly::agent
