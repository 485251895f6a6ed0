#include "counter_history.h"

#include <limits>

#include "value_format.h"

namespace tly::agent {
namespace {

constexpr std::size_t kMostTrendPoints = 60;
constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

}  // namespace

HistoryBook::HistoryBook(const Session& session) : session_(session) {
  for (const SelectedComponent& component : session.selection().components) {
    for (const SelectedCounter& counter : component.counters) {
      histories_.push_back({&counter, std::nullopt, {}});
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
  previous_values_ = session_.values();
  previous_time_ = time;
}

void HistoryBook::extend(CounterHistory& history, double seconds) const {
  const SelectedCounter& counter = *history.counter;
  const tly_counter_value_t value = load_value(*counter.info, session_.value_of(counter));
  if (counter.info->counting_type != TLY_COUNTING_TYPE_RUNNING_SUM) {
    history.trend.push_back(numeric_value(*counter.info, value).value_or(kNothing));
    return;
  }
  if (previous_values_.empty()) {
    return;
  }
  const tly_counter_value_t previous =
      load_value(*counter.info, session_.value_in(previous_values_, counter));
  const std::optional<double> change = increase(*counter.info, previous, value);
  history.per_second =
      change && seconds > 0 ? std::optional<double>(*change / seconds) : std::nullopt;
  history.trend.push_back(history.per_second.value_or(kNothing));
}

}  // namespace tly::agent
