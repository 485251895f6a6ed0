#include "export/scrape_target.h"

#include <chrono>
#include <exception>
#include <utility>

#include "common/failure.h"
#include "common/text.h"

namespace tly::agent {
namespace {

using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;
using Labels = std::vector<ClientMetric::Label>;

double in_seconds(std::chrono::nanoseconds duration) {
  return std::chrono::duration<double>(duration).count();
}

double in_seconds(ScrapeReader::Time time) { return in_seconds(time.time_since_epoch()); }

void add(MetricFamily& family, double value, Labels labels = {}) {
  ClientMetric& metric = family.metric.emplace_back();
  metric.label = std::move(labels);
  (family.type == MetricType::Counter ? metric.counter.value : metric.gauge.value) = value;
}

MetricFamily single(const char* name, const char* help, MetricType type, double value) {
  MetricFamily family{name, help, type, {}};
  add(family, value);
  return family;
}

}  // namespace

ScrapeTarget::ScrapeTarget(const Session& session, ScrapeReader& reader, const HostLogger& logger,
                           std::vector<std::string> absent_providers, std::string library_version)
    : session_(session),
      reader_(reader),
      logger_(logger),
      absent_providers_(std::move(absent_providers)),
      library_version_(std::move(library_version)),
      counters_(session.selection()) {}

std::vector<MetricFamily> ScrapeTarget::Collect() const {
  try {
    Families families;
    reader_.read([&](const auto& sources, const auto& cycles) {
      families = counters_.with_values(session_,
                                       [&](std::size_t source) { return sources[source].is_up; });
      append_cycles(families, cycles);
      append_providers(families, sources);
    });
    append_log(families);
    return families;
  } catch (const std::exception& error) {
    // Through the server's C code nothing may be thrown.
    report(error.what(), "the scrape was answered without metrics");
    return {};
  }
}

void ScrapeTarget::append_cycles(Families& families, const ScrapeReader::Cycles& cycles) const {
  families.push_back(single("tallyra_agent_samples_total",
                            "Scrapes for which every provider was read", MetricType::Counter,
                            static_cast<double>(cycles.whole)));
  families.push_back(single("tallyra_agent_samples_dropped_total",
                            "Scrapes for which some provider could not be read",
                            MetricType::Counter, static_cast<double>(cycles.dropped)));
  families.push_back(single("tallyra_agent_last_read_duration_seconds",
                            "Time that reading the providers took for this scrape",
                            MetricType::Gauge, in_seconds(cycles.last_duration)));
  if (cycles.last_whole_at) {
    families.push_back(single("tallyra_agent_last_whole_sample_timestamp_seconds",
                              "When every provider was last read", MetricType::Gauge,
                              in_seconds(*cycles.last_whole_at)));
  }
  MetricFamily build{
      "tallyra_agent_build_info", "Versions of agent and library", MetricType::Gauge, {}};
  add(build, 1, {{"version", TALLYRA_AGENT_VERSION}, {"library_version", library_version_}});
  families.push_back(std::move(build));
}

void ScrapeTarget::append_providers(Families& families,
                                    const std::vector<ScrapeReader::Source>& sources) const {
  MetricFamily up{"tallyra_agent_provider_up",
                  "1 when the provider gave the values of this scrape, else 0",
                  MetricType::Gauge,
                  {}};
  MetricFamily changed{"tallyra_agent_values_changed_timestamp_seconds",
                       "When a scrape last found other values of the provider than the one before",
                       MetricType::Gauge,
                       {}};
  for (std::size_t i = 0; i < sources.size(); ++i) {
    const Labels labels = {{"provider", printable(session_.selection().sources[i].name)}};
    add(up, sources[i].is_up ? 1 : 0, labels);
    if (sources[i].changed_at) {
      add(changed, in_seconds(*sources[i].changed_at), labels);
    }
  }
  for (const std::string& name : absent_providers_) {
    add(up, 0, {{"provider", printable(name)}});
  }
  families.push_back(std::move(up));
  if (!changed.metric.empty()) {
    families.push_back(std::move(changed));
  }
}

void ScrapeTarget::append_log(Families& families) const {
  MetricFamily messages{"tallyra_agent_log_messages_total",
                        "Messages that the library has logged, also those that are not shown",
                        MetricType::Counter,
                        {}};
  for (const LoggedMessages& logged : logger_.logged_messages()) {
    add(messages, static_cast<double>(logged.count), {{"level", logged.level}});
  }
  families.push_back(std::move(messages));
}

}  // namespace tly::agent
