// What a scrape gets: the counters of one read cycle, and how the agent itself is doing.
#pragma once

#include <prometheus/collectable.h>

#include <string>
#include <vector>

#include "export/metric_families.h"
#include "export/scrape_reader.h"
#include "host/host_logger.h"
#include "host/session.h"

namespace tly::agent {

class ScrapeTarget : public prometheus::Collectable {
 public:
  // What it is made of must outlive it. The absent providers could not be started and are shown as
  // not up.
  ScrapeTarget(const Session& session, ScrapeReader& reader, const HostLogger& logger,
               std::vector<std::string> absent_providers, std::string library_version);

  // Runs a read cycle. Any thread may call; nothing is thrown.
  std::vector<prometheus::MetricFamily> Collect() const override;

 private:
  using Families = std::vector<prometheus::MetricFamily>;

  void append_cycles(Families& families, const ScrapeReader::Cycles& cycles) const;
  void append_providers(Families& families, const std::vector<ScrapeReader::Source>& sources) const;
  void append_log(Families& families) const;

  const Session& session_;
  ScrapeReader& reader_;
  const HostLogger& logger_;
  std::vector<std::string> absent_providers_;
  std::string library_version_;
  MetricFamilies counters_;
};

}  // namespace tly::agent
