#include "export/metric_families.h"

#include <algorithm>
#include <map>
#include <set>

#include "common/text.h"
#include "export/metric_names.h"
#include "output/value_format.h"

namespace tly::agent {

using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;

MetricFamilies::MetricFamilies(const Selection& selection) {
  for (const SelectedComponent& component : selection.components) {
    const char* const own_name = component.component->name;
    const std::string component_name = own_name != nullptr ? own_name : "";
    for (const SelectedCounter& counter : component.counters) {
      if (counter.info->data_type == TLY_DATA_TYPE_STRING) {
        continue;
      }
      const MetricName metric = metric_name(component_name, *counter.info);
      Labels labels = {{"provider", printable(selection.sources[counter.source].name)},
                       {"component", printable(component_name)}};
      if (!metric.instance.empty()) {
        labels.push_back({"instance", printable(metric.instance)});
      }
      family_of(metric.name, *counter.info)
          .series.push_back({&counter, std::move(labels), metric.multiplier, metric.divisor});
    }
  }
  for (Family& family : families_) {
    tell_apart(family);
  }
}

MetricFamilies::Family& MetricFamilies::family_of(const std::string& name,
                                                  const tly_counter_info_t& counter) {
  const auto known = std::ranges::find(families_, name, &Family::name);
  if (known != families_.end()) {
    return *known;
  }
  const std::string description = counter.description != nullptr ? counter.description : "";
  const std::string help = description.empty() ? "Counter without a description" : description;
  return families_.emplace_back(Family{name, printable(help), is_sum(counter), {}});
}

// Series with the same labels get one more, which names the counter.
void MetricFamilies::tell_apart(Family& family) {
  std::map<Labels, std::size_t> uses;
  for (const Series& series : family.series) {
    ++uses[series.labels];
  }
  std::set<Labels> taken;
  for (Series& series : family.series) {
    if (uses[series.labels] == 1) {
      continue;
    }
    series.labels.push_back({"counter", printable(series.counter->label)});
    while (!taken.insert(series.labels).second) {
      series.labels.back().value += '#';
    }
  }
}

std::vector<MetricFamily> MetricFamilies::with_values(
    const Session& session, const std::function<bool(std::size_t)>& is_shown) const {
  std::vector<MetricFamily> result;
  for (const Family& family : families_) {
    MetricFamily shown{
        family.name, family.help, family.is_of_sums ? MetricType::Counter : MetricType::Gauge, {}};
    for (const Series& series : family.series) {
      const SelectedCounter& counter = *series.counter;
      const void* const bytes = is_shown(counter.source) ? session.value_of(counter) : nullptr;
      const std::optional<double> number =
          bytes != nullptr ? numeric_value(*counter.info, load_value(*counter.info, bytes))
                           : std::nullopt;
      if (!number) {
        continue;
      }
      ClientMetric& metric = shown.metric.emplace_back();
      metric.label = series.labels;
      (family.is_of_sums ? metric.counter.value : metric.gauge.value) =
          *number * series.multiplier / series.divisor;
    }
    if (!shown.metric.empty()) {
      result.push_back(std::move(shown));
    }
  }
  return result;
}

}  // namespace tly::agent
