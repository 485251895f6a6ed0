// The selected counters as Prometheus takes them: families of series, named once and for all.
#pragma once

#include <prometheus/metric_family.h>

#include <functional>
#include <string>
#include <vector>

#include "host/selection.h"
#include "host/session.h"

namespace tly::agent {

class MetricFamilies {
 public:
  // The selection must outlive it. Texts, which are no numbers, are not among them.
  explicit MetricFamilies(const Selection& selection);

  // The session's values of the sources that `is_shown` accepts. Counters without a value are left
  // out.
  std::vector<prometheus::MetricFamily> with_values(
      const Session& session, const std::function<bool(std::size_t)>& is_shown) const;

 private:
  using Labels = std::vector<prometheus::ClientMetric::Label>;

  struct Series {
    const SelectedCounter* counter;
    Labels labels;
    double multiplier;
    double divisor;
  };

  struct Family {
    std::string name;
    std::string help;
    bool is_of_sums;
    std::vector<Series> series;
  };

  Family& family_of(const std::string& name, const tly_counter_info_t& counter);
  static void tell_apart(Family& family);

  std::vector<Family> families_;
};

}  // namespace tly::agent
