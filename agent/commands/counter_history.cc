#include "commands/counter_history.h"

#include <limits>

#include "output/value_format.h"

namespace tly::agent {
namespace {

constexpr std::size_t kMostTrendPoints = 60;
constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

}  // namespace

HistoryBook::HistoryBook(const Session& session) : session_(session) {
  for (const SelectedComponent& component : session.selection().components) {
    for (const SelectedCounter& counter : component.counters) {
      histories_.push_back({&counter, std::nullopt, {}, std::nullopt});
    }
  }
}

void HistoryBook::add_reading(std::chrono::steady_clock::time_point time) {
  const double seconds = std::chrono::duration<double>(time - previous_time_).count();
  for (CounterHistory& history : histories_) {
    extend(history, seconds);
    if (history.trend.size() > kMostTrendPoints) {
      history.trend.pop_front();
    }
  }
  previous_time_ = time;
}

void HistoryBook::extend(CounterHistory& history, double seconds) const {
  const SelectedCounter& counter = *history.counter;
  const void* const bytes = session_.value_of(counter);
  if (bytes == nullptr) {
    return;
  }
  const tly_counter_value_t value = load_value(*counter.info, bytes);
  if (counter.info->counting_type != TLY_COUNTING_TYPE_RUNNING_SUM) {
    history.trend.push_back(numeric_value(*counter.info, value).value_or(kNothing));
    return;
  }
  if (history.previous) {
    const std::optional<double> change = increase(*counter.info, *history.previous, value);
    history.per_second =
        change && seconds > 0 ? std::optional<double>(*change / seconds) : std::nullopt;
    history.trend.push_back(history.per_second.value_or(kNothing));
  }
  history.previous = value;
}

}  // namespace tly::agent
