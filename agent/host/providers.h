// The providers that a command line enables, from their start to their end.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "common/failure.h"
#include "host/enabled_names.h"
#include "host/local_provider.h"
#include "host/remote_providers.h"

namespace tly::agent {

struct CounterSource {
  tly_provider_t* provider;
  std::string name;  // the local provider's own; of a remote one, "grpc." and the name asked for
  bool is_remote;
};

class Providers {
 public:
  Providers(const Plugin& plugin, EnabledNames names);

  // One of the two. Providers that do not start are omissions, those of the other kind are ended
  // again, with a note. Throws Failure when none is left. When one takes longer than the timeout to
  // start, the process ends.
  void start_counters(std::chrono::nanoseconds sampling_interval, std::chrono::nanoseconds timeout,
                      Omissions& omissions);
  void start_events(std::chrono::nanoseconds timeout, Omissions& omissions);

  // The local provider's first.
  std::vector<CounterSource> counters();
  // Of counters: those that are enabled and did not start.
  const std::vector<std::string>& absent() const { return absent_; }
  std::vector<RemoteEvents>& events() { return remote_.events(); }
  const EnabledNames& names() const { return names_; }

  // Ends all providers. When that takes longer than the limit, which holds for the local provider
  // and for the others, the process ends with the status.
  void finalize(std::chrono::nanoseconds limit, int exit_status);

 private:
  void note_absent(bool lacks_local);

  const Plugin& plugin_;
  EnabledNames names_;
  std::optional<LocalProvider> local_;
  RemoteProviders remote_;
  std::vector<std::string> absent_;
};

}  // namespace tly::agent
