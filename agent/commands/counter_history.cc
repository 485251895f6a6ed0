#include "commands/counter_history.h"

#include <limits>

#include "output/value_format.h"

namespace tly::agent {
namespace {

constexpr std::size_t kMostTrendPoints = 60;
// The usual limit on a run of the tool: values that are older stand still.
constexpr std::chrono::seconds kLongestSample{10};
// The sample that a suspension met, and the one after it.
constexpr int kSamplesAfterSuspension = 2;
constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();

}  // namespace

HistoryBook::HistoryBook(const Session& session) : session_(session) {
  for (const SelectedComponent& component : session.selection().components) {
    for (const SelectedCounter& counter : component.counters) {
      histories_.push_back({&counter, std::nullopt, {}, std::nullopt});
    }
  }
}

void HistoryBook::add_reading(SteadyTime time, std::chrono::nanoseconds unchanged_for) {
  const bool has_changed = unchanged_for == unchanged_for.zero();
  const bool is_doubtful = has_changed && doubtful_samples_ > 0;
  for (CounterHistory& history : histories_) {
    const bool is_remote = session_.selection().sources[history.counter->source].is_remote;
    if (!is_remote && !has_changed && unchanged_for < kLongestSample) {
      continue;
    }
    if (!is_remote && is_doubtful) {
      history.previous.reset();
      history.per_second.reset();
    }
    const SteadyTime before = is_remote ? previous_time_ : local_changed_at_;
    extend(history, std::chrono::duration<double>(time - before).count());
    if (history.trend.size() > kMostTrendPoints) {
      history.trend.pop_front();
    }
  }
  previous_time_ = time;
  local_changed_at_ = has_changed ? time : local_changed_at_;
  doubtful_samples_ -= is_doubtful ? 1 : 0;
}

void HistoryBook::restart() { doubtful_samples_ = kSamplesAfterSuspension; }

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
