#include "export/metric_names.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace tly::agent {
namespace {

constexpr std::string_view kPrefix = "tallyra";
// Names that begin with this are the agent's own.
constexpr std::string_view kOwnWord = "agent";
// Ends of names that belong to other kinds of metrics than gauges.
constexpr std::string_view kReservedEnds[] = {"total", "count", "sum", "bucket"};

// Units whose names can mean nothing else, and the base units that values are given in.
struct Unit {
  std::string_view name;
  std::string_view base;
  double multiplier;
  double divisor;
};

constexpr Unit kUnits[] = {{"s", "seconds", 1, 1},
                           {"ms", "seconds", 1, 1e3},
                           {"us", "seconds", 1, 1e6},
                           {"ns", "seconds", 1, 1e9},
                           {"kib", "bytes", 1024, 1},
                           {"mib", "bytes", 1024.0 * 1024, 1},
                           {"gib", "bytes", 1024.0 * 1024 * 1024, 1},
                           {"hz", "hertz", 1, 1},
                           {"khz", "hertz", 1e3, 1},
                           {"mhz", "hertz", 1e6, 1},
                           {"ghz", "hertz", 1e9, 1}};

const Unit* find_unit(std::string_view name) {
  const Unit* const unit =
      std::find_if(std::begin(kUnits), std::end(kUnits),
                   [&](const Unit& candidate) { return candidate.name == name; });
  return unit != std::end(kUnits) ? unit : nullptr;
}

// Lower-case runs of ASCII letters and digits; whatever else is there separates them.
std::vector<std::string> words_of(std::string_view text) {
  std::vector<std::string> words;
  bool is_in_word = false;
  for (const char c : text) {
    const bool is_upper = c >= 'A' && c <= 'Z';
    const bool is_word = is_upper || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
    if (is_word && !is_in_word) {
      words.emplace_back();
    }
    if (is_word) {
      words.back() += is_upper ? static_cast<char>(c - 'A' + 'a') : c;
    }
    is_in_word = is_word;
  }
  return words;
}

// The unit that the name or else the record gives; null when it stays as it is.
const Unit* unit_of(std::vector<std::string>& words, std::string_view units) {
  const bool is_rate = words.size() > 1 && words[words.size() - 2] == "per";
  if (is_rate) {
    words.back() = words.back() == "s" ? "second" : words.back();
    return nullptr;
  }
  if (const Unit* const unit = words.empty() ? nullptr : find_unit(words.back())) {
    words.back() = unit->base;
    return unit;
  }
  const std::vector<std::string> unit_words = words_of(units);
  const Unit* const unit = unit_words.size() == 1 ? find_unit(unit_words.front()) : nullptr;
  if (unit != nullptr && (words.empty() || words.back() != unit->base)) {
    words.emplace_back(unit->base);
  }
  return unit;
}

}  // namespace

MetricName metric_name(std::string_view component, const tly_counter_info_t& counter) {
  std::string_view own_name = counter.name != nullptr ? counter.name : "";
  if (own_name.starts_with(component) && own_name.substr(component.size()).starts_with(':')) {
    own_name.remove_prefix(component.size() + 1);
  }
  MetricName metric;
  if (const std::size_t colon = own_name.rfind(':'); colon != std::string_view::npos) {
    metric.instance = own_name.substr(0, colon);
    own_name.remove_prefix(colon + 1);
  }
  std::vector<std::string> words = words_of(own_name);
  if (is_sum(counter) && words.size() > 1 && words.back() == "total") {
    words.pop_back();
  }
  if (const Unit* const unit = unit_of(words, counter.units != nullptr ? counter.units : "")) {
    metric.multiplier = unit->multiplier;
    metric.divisor = unit->divisor;
  }
  if (words.empty()) {
    words.emplace_back("unnamed");
  } else if (words.front() == kOwnWord) {
    words.insert(words.begin(), "provider");
  }
  if (is_sum(counter)) {
    words.emplace_back("total");
  } else if (std::ranges::find(kReservedEnds, words.back()) != std::end(kReservedEnds)) {
    words.emplace_back("value");
  }
  metric.name = kPrefix;
  for (const std::string& word : words) {
    metric.name += "_" + word;
  }
  return metric;
}

}  // namespace tly::agent
