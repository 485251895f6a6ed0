#include "commands/watch_view.h"

#include <algorithm>

#include "common/duration.h"
#include "common/text.h"
#include "output/sparkline.h"
#include "output/table.h"
#include "output/value_format.h"

namespace tly::agent {
namespace {

constexpr std::size_t kNarrowTrend = 12;
constexpr std::size_t kWideTrend = 40;
constexpr std::size_t kNarrowColumns = 60;
constexpr std::size_t kWideColumns = 120;
constexpr std::size_t kNumberWidth = 10;
constexpr std::size_t kHeadingRows = 2;

// Values are called unchanged only after that many intervals: some just change slowly.
constexpr int kUnchangedIntervals = 3;

std::string heading(const WatchState& state) {
  std::string line = "tallyra-agent: " + state.provider_name + "  " + utc_timestamp(state.time) +
                     "  every " + duration_text(state.interval);
  if (state.unchanged_for >= kUnchangedIntervals * state.interval) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(state.unchanged_for);
    line += "  unchanged for " + std::to_string(seconds.count()) + "s";
  }
  return printable(line);
}

// Without the trend when that has no width.
Table history_table(const Session& session, const std::vector<CounterHistory>& histories,
                    std::size_t count, std::size_t trend_width, bool unicode) {
  std::vector<Column> columns = {
      {.heading = "COUNTER", .may_shrink = true},
      {.heading = "VALUE", .align = Align::kRight, .least_width = kNumberWidth},
      {.heading = "PER SECOND", .align = Align::kRight, .least_width = kNumberWidth}};
  if (trend_width > 0) {
    columns.push_back({.heading = "TREND", .least_width = trend_width});
  }
  Table table(std::move(columns));
  for (std::size_t i = 0; i < count; ++i) {
    const CounterHistory& history = histories[i];
    const SelectedCounter& counter = *history.counter;
    const std::string value = display_text(*counter.info, session.value_of(counter));
    table.add_row({counter.label, value.empty() ? "-" : value,
                   history.per_second ? short_number(*history.per_second) : "-",
                   sparkline(history.trend, trend_width, unicode)});
  }
  return table;
}

std::string hidden_line(std::size_t hidden, std::size_t total) {
  return std::to_string(hidden) + " of " + std::to_string(total) +
         " counters hidden: enlarge the window or select some with --counter";
}

}  // namespace

std::vector<std::string> screen_lines(const WatchState& state, const Session& session,
                                      const std::vector<CounterHistory>& histories,
                                      TerminalSize size, bool unicode) {
  const std::size_t total = histories.size();
  const std::size_t fixed_rows = kHeadingRows + (state.message.empty() ? 0 : 1);
  const std::size_t room = size.rows > fixed_rows ? size.rows - fixed_rows : 0;
  const std::size_t shown = total <= room ? total : std::max<std::size_t>(room, 1) - 1;
  const std::size_t trend_width = size.columns < kNarrowColumns ? 0
                                  : size.columns < kWideColumns ? kNarrowTrend
                                                                : kWideTrend;

  std::vector<std::string> lines = {heading(state)};
  const Table table = history_table(session, histories, shown, trend_width, unicode);
  for (std::string& line : table.lines(size.columns, ellipsis(unicode))) {
    lines.push_back(std::move(line));
  }
  if (shown < total) {
    lines.push_back(hidden_line(total - shown, total));
  }
  if (!state.message.empty()) {
    lines.push_back(printable(state.message));
  }
  lines.resize(std::min(lines.size(), size.rows));
  for (std::string& line : lines) {
    line = cut(line, size.columns);
  }
  return lines;
}

std::vector<std::string> plain_lines(const WatchState& state, const Session& session,
                                     const std::vector<CounterHistory>& histories, bool unicode) {
  std::vector<std::string> lines = {heading(state)};
  const Table table = history_table(session, histories, histories.size(), kNarrowTrend, unicode);
  for (std::string& line : table.lines(Table::kUnlimited, "")) {
    lines.push_back(std::move(line));
  }
  return lines;
}

}  // namespace tly::agent
