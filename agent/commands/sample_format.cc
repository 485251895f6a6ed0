#include "commands/sample_format.h"

#include "common/text.h"
#include "output/table.h"
#include "output/value_format.h"

namespace tly::agent {
namespace {

std::string table_text(const Sample& sample) {
  Table table(
      {{.heading = "COUNTER"}, {.heading = "VALUE", .align = Align::kRight}, {.heading = "UNIT"}});
  for (const SelectedComponent& component : sample.session.selection().components) {
    for (const SelectedCounter& counter : component.counters) {
      const std::string value = exact_text(*counter.info, sample.session.value_of(counter));
      const char* const units = counter.info->units;
      table.add_row({counter.label, value.empty() ? "-" : value, units != nullptr ? units : ""});
    }
  }
  std::string text = sample.number > 1 ? "\n" : "";
  text += utc_timestamp(sample.time) + "\n";
  for (const std::string& line : table.lines(Table::kUnlimited, "")) {
    text += line + "\n";
  }
  return text;
}

std::string json_line(const Sample& sample) {
  const Selection& selection = sample.session.selection();
  std::string line = "{\"timestamp\":" + json_string(utc_timestamp(sample.time)) +
                     ",\"provider\":" + json_string(selection.source_names()) + ",\"values\":{";
  for (const SelectedComponent& component : selection.components) {
    line += line.back() == '{' ? "" : ",";
    line += json_string(component.label) + ":{";
    for (const SelectedCounter& counter : component.counters) {
      line += line.back() == '{' ? "" : ",";
      line += json_string(counter.label) + ":";
      line += json_text(*counter.info, sample.session.value_of(counter));
    }
    line += "}";
  }
  return line + "}}\n";
}

std::string csv_lines(const Sample& sample) {
  const bool needs_headings = sample.number == 1;
  std::string headings = "timestamp";
  std::string values = utc_timestamp(sample.time);
  for (const SelectedComponent& component : sample.session.selection().components) {
    for (const SelectedCounter& counter : component.counters) {
      if (needs_headings) {
        headings += "," + csv_field(counter.label);
      }
      values += "," + csv_field(exact_text(*counter.info, sample.session.value_of(counter)));
    }
  }
  return (needs_headings ? headings + "\n" : std::string()) + values + "\n";
}

}  // namespace

std::string sample_text(const Sample& sample, Format format) {
  switch (format) {
    case Format::kJson:
      return json_line(sample);
    case Format::kCsv:
      return csv_lines(sample);
    case Format::kTable:
      break;
  }
  return table_text(sample);
}

}  // namespace tly::agent
