#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "common/log.h"
#include "common/owned.h"
#include "common/printable.h"
#include "counters/group_name.h"
#include "encoding/json_builder.h"
#include "tallyra/counter_group.h"
#include "tallyra/string_utils.h"

namespace {

using tly::JsonObjectBuilder;
using tly::OwnedString;
using tly::printable;

// Offsets need not be multiples of 8, so values are copied out of their area.
tly_counter_value_t load_value(const void* location) noexcept {
  tly_counter_value_t value;
  std::memcpy(&value, location, sizeof value);
  return value;
}

double number_of(tly_data_type_t data_type, const tly_counter_value_t& value) noexcept {
  switch (data_type) {
    case TLY_DATA_TYPE_UINT64:
    case TLY_DATA_TYPE_BIT64:
      return static_cast<double>(value.u64);
    case TLY_DATA_TYPE_FP64:
      return value.fp64;
    default:
      return static_cast<double>(value.i64);
  }
}

// Sets the member named after the counter from the value at its location; false when memory runs
// out.
bool set_counter_value(JsonObjectBuilder& object, const tly_counter_info_t& counter,
                       const char* location) noexcept {
  if (counter.data_type != TLY_DATA_TYPE_STRING) {
    object.set_number(counter.name, number_of(counter.data_type, load_value(location)));
    return !object.failed();
  }
  log_hex(location, counter.length);
  const OwnedString text(strndup(location, counter.length));
  object.set_text(counter.name, text.get());
  return text != nullptr;
}

// Reads at most `length` characters of the value.
int print_string(FILE* stream, int width, uint32_t length,
                 const tly_counter_value_t* value) noexcept {
  const int limit = static_cast<int>(std::min(static_cast<uint32_t>(width), length));
  return std::fprintf(stream, " %*.*s |", width, limit, reinterpret_cast<const char*>(value));
}

// A value in a slot: a text that is longer than its slot is cut there.
int print_slot(FILE* stream, const tly_counter_info_t* counter, int width,
               const tly_counter_value_t* slot) noexcept {
  if (counter->data_type != TLY_DATA_TYPE_STRING) {
    return tly_print_counter_value(stream, counter, width, slot);
  }
  return print_string(stream, width, std::min<uint32_t>(counter->length, sizeof *slot), slot);
}

// The geometry of the table of values: one column per counter, and in front of them, when there are
// sets, the column that numbers them.
struct ValuesTable {
  static constexpr int kCellWidth = 20;
  static constexpr std::size_t kColumnWidth = kCellWidth + 3;
  static constexpr int kTitleWidth = 22;

  explicit ValuesTable(const tly_counter_group_t* group) noexcept
      : label(printable(tly_granularity_string(group->granularity))),
        has_sets(group->num_counter_sets != 0),
        label_width(has_sets ? static_cast<int>(std::strlen(label)) : 0),
        width(group->num_counters * kColumnWidth +
              (has_sets ? static_cast<std::size_t>(label_width) + 3 : 0)) {}

  // What the title leaves for the label. In a table narrower than the title it is negative, and
  // printf then pads on the other side and cuts nothing.
  int title_label_width() const noexcept {
    return static_cast<int>(std::min<std::size_t>(width, INT_MAX)) - kTitleWidth;
  }

  // The horizontal rule with its newline; null when memory runs out.
  OwnedString make_rule() const noexcept {
    OwnedString rule(static_cast<char*>(std::malloc(width + 3)));
    if (rule != nullptr) {
      std::memset(rule.get(), '-', width + 1);
      std::memcpy(rule.get() + width + 1, "\n", 2);
    }
    return rule;
  }

  const char* label;
  bool has_sets;
  int label_width;
  std::size_t width;
};

void print_values_head(const tly_counter_group_t* group, const ValuesTable& table, const char* rule,
                       FILE* stream) noexcept {
  const int title_label_width = table.title_label_width();
  std::fprintf(stream, "%s| Counter values per %-*.*s |\n%s", rule, title_label_width,
               title_label_width, table.label, rule);
  if (table.has_sets) {
    std::fprintf(stream, "| %*s |", table.label_width, table.label);
  } else {
    std::fputs("|", stream);
  }
  for (std::size_t index = 0; index < group->num_counters; ++index) {
    std::fprintf(stream, " %*s |", ValuesTable::kCellWidth,
                 printable(group->counters[index]->name));
  }
  std::fprintf(stream, "\n%s", rule);
}

}  // namespace

JSON_Value* tly_counter_set_values_jsonify(const tly_counter_group_t* group,
                                           const tly_counter_value_t* values) {
  if (group == nullptr || values == nullptr) {
    return nullptr;
  }
  JsonObjectBuilder object;
  if (object.failed()) {
    TLY_LOG_ERROR("Failed allocating JSON object");
    return nullptr;
  }
  const char* area = reinterpret_cast<const char*>(values);
  for (std::size_t index = 0; index < group->num_counters; ++index) {
    const tly_counter_info_t& counter = *group->counters[index];
    if (!set_counter_value(object, counter, area + counter.offset)) {
      return nullptr;
    }
  }
  return object.release();
}

JSON_Value* tly_counter_group_values_jsonify(const tly_counter_group_t* group,
                                             const tly_counter_value_t* values) {
  if (group == nullptr || values == nullptr) {
    return nullptr;
  }
  JsonObjectBuilder object;
  object.set_text("granularity", tly_granularity_string(group->granularity));
  const char* name = tly::group_name(group);
  object.set_text("name", name != nullptr ? name : "unset");
  // Every set is read from the same area: groups of several sets have no layout of their own.
  object.set_value("counter_sets", tly::make_json_array(group->num_counter_sets, [&](std::size_t) {
                     return tly_counter_set_values_jsonify(group, values);
                   }));
  return object.release();
}

int tly_print_counter_value(FILE* stream, const tly_counter_info_t* counter, int width,
                            const tly_counter_value_t* value) {
  if (stream == nullptr || counter == nullptr || value == nullptr) {
    return -1;
  }
  // A negative width would left-align the cell.
  const int cell_width = std::max(width, 0);
  if (counter->data_type == TLY_DATA_TYPE_STRING) {
    return print_string(stream, cell_width, counter->length, value);
  }
  const tly_counter_value_t loaded = load_value(value);
  switch (counter->data_type) {
    case TLY_DATA_TYPE_UINT64:
      return std::fprintf(stream, " %*llu(u) |", cell_width,
                          static_cast<unsigned long long>(loaded.u64));
    case TLY_DATA_TYPE_FP64:
      return std::fprintf(stream, " %*.3f |", std::max(cell_width - 4, 0), loaded.fp64);
    case TLY_DATA_TYPE_BIT64:
      return std::fprintf(stream, " %*llX |", cell_width,
                          static_cast<unsigned long long>(loaded.u64));
    default:
      return print_si_prefixed_value(stream, static_cast<uint32_t>(cell_width), loaded.i64);
  }
}

int tly_print_counter_group(const tly_counter_group_t* group, FILE* stream) {
  static constexpr char kRule[] = "------------------------------------------\n";
  if (group == nullptr || stream == nullptr) {
    return EOF;
  }
  std::fprintf(stream, "%s| Granularity per %s (%d counter sets) \n%s", kRule,
               printable(tly_granularity_string(group->granularity)),
               static_cast<int>(group->num_counter_sets), kRule);
  std::fprintf(stream, "| %2s | %-20s | %-40s\n%s", "#", "Active counter", "Description", kRule);
  for (std::size_t index = 0; index < group->num_counters; ++index) {
    const tly_counter_info_t* counter = group->counters[index];
    std::fprintf(stream, "| %2d | %-20s | %-40.40s\n", static_cast<int>(index),
                 printable(counter->name), printable(counter->description));
  }
  std::fputs(kRule, stream);
  return std::fflush(stream);
}

void tly_print_counter_group_values(const tly_counter_group_t* group,
                                    const tly_counter_value_t* values, FILE* stream) {
  if (group == nullptr || values == nullptr || stream == nullptr) {
    return;
  }
  const ValuesTable table(group);
  const OwnedString rule = table.make_rule();
  if (rule == nullptr) {
    return;
  }
  print_values_head(group, table, rule.get(), stream);
  const std::size_t num_counters = group->num_counters;
  for (std::size_t set = 0; set < group->num_counter_sets; ++set) {
    std::fprintf(stream, "| %*d |", table.label_width, static_cast<int>(set));
    for (std::size_t index = 0; index < num_counters; ++index) {
      print_slot(stream, group->counters[index], ValuesTable::kCellWidth,
                 values + set * num_counters + index);
    }
    std::fputs("\n", stream);
  }
  std::fputs(rule.get(), stream);
}

void tly_reset_counter_group_values(const tly_counter_group_t* group, tly_counter_value_t* values) {
  if (group == nullptr || values == nullptr) {
    return;
  }
  const uint32_t num_values = group->num_counter_sets * group->num_counters;
  std::memset(values, 0, static_cast<std::size_t>(num_values) * sizeof *values);
}
