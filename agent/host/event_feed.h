// The running event providers: what happened since the last call, fetched into one bounded buffer.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "common/failure.h"
#include "host/owned.h"
#include "host/remote_providers.h"

namespace tly::agent {

// Events records of one source, valid during the call that hands them over.
struct EventBatch {
  const std::string& provider;
  std::string source;
  std::span<const std::uint8_t> records;
};

// Belongs to the thread that made it. The providers must outlive it, and the type system them.
class EventFeed {
 public:
  // Adds the providers' schemas to the type system and takes their sources. What fails here or
  // later leaves out that provider, as an omission. When a provider takes longer than the timeout
  // to answer, the process ends.
  EventFeed(const Plugin& plugin, tly_type_system_t& type_system,
            const std::vector<RemoteEvents>& providers, std::chrono::nanoseconds timeout,
            Omissions& omissions);

  // Starts the providers. Throws Failure when none is left.
  void start();

  // Takes a batch; false ends the fetching.
  using Sink = std::function<bool(const EventBatch&)>;

  // Hands over all events since the last call, source by source, in batches. Throws Failure when no
  // provider is left.
  void fetch(const Sink& sink);

 private:
  struct Feed {
    const RemoteEvents* provider;
    Sources sources;
    // By source; what they mean is between provider and agent, and this agent asks nothing of them.
    std::vector<tly_event_provider_config_t> configs;
    bool has_failed_before = false;
  };
  enum class Result { kDone, kStopped, kUnusable };

  bool initialize(const RemoteEvents& provider);
  Result fetch_source(Feed& feed, std::uint16_t source, const Sink& sink);
  std::int32_t progress(Feed& feed, std::uint16_t source);
  void report_failed_progress(Feed& feed);
  void require_feeds() const;

  const Plugin& plugin_;
  std::chrono::nanoseconds timeout_;
  Omissions& omissions_;
  std::vector<Feed> feeds_;
  std::vector<std::uint8_t> buffer_;
  tly_data_serializer_t serializer_{};
};

}  // namespace tly::agent
