// The providers that the library's mediator reaches through the remote-executor client.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "common/failure.h"
#include "host/owned.h"

namespace tly::agent {

struct EndRemote {
  void operator()(tly_provider_t* provider) const;
  void operator()(tly_event_provider_t* provider) const;
};

template <typename Record>
struct RemoteProvider {
  std::string name;  // with the "grpc." in front, as the user gave it
  std::unique_ptr<Record, EndRemote> record;
};
using RemoteCounters = RemoteProvider<tly_provider_t>;
using RemoteEvents = RemoteProvider<tly_event_provider_t>;

// One per process: the library goes through the names once.
class RemoteProviders {
 public:
  explicit RemoteProviders(const Plugin& plugin) : plugin_(plugin) {}

  // Starts the providers of these names, each of counters or of events; a name that is neither is
  // an omission. When one does not start within the timeout, the process ends.
  void start(const std::vector<std::string>& names, std::chrono::nanoseconds timeout,
             Omissions& omissions);

  std::vector<RemoteCounters>& counters() { return counters_; }
  std::vector<RemoteEvents>& events() { return events_; }

 private:
  bool start_next(const std::string& name, std::chrono::nanoseconds timeout);

  const Plugin& plugin_;
  // The providers may use the options as long as they live.
  Dictionary custom_options_;
  tly_options_t options_{};
  std::string enabled_;
  std::vector<RemoteCounters> counters_;
  std::vector<RemoteEvents> events_;
};

}  // namespace tly::agent
