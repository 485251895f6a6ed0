#include "host/providers.h"

#include <algorithm>

#include "common/watchdog.h"

namespace tly::agent {
namespace {

Failure none_left(const char* kind) {
  return {ExitCode::kProvider, std::string("no provider of ") + kind + " is left",
          "enable others with --enable; see 'tallyra-agent --help'"};
}

// Ends the providers that the command has no use for.
template <typename Record>
void leave_out(std::vector<RemoteProvider<Record>>& unused, const char* what) {
  for (const RemoteProvider<Record>& provider : unused) {
    report(provider.name + " " + what, {});
  }
  unused.clear();
}

// The local provider is wanted unless it is disabled, so what to do includes that.
Failure with_way_out(const Failure& failure) {
  return {failure.code(), failure.what(),
          failure.advice() + "; --disable vintor goes without the local provider"};
}

}  // namespace

Providers::Providers(const Plugin& plugin, EnabledNames names)
    : plugin_(plugin), names_(std::move(names)), remote_(plugin) {}

void Providers::start_counters(std::chrono::nanoseconds sampling_interval,
                               std::chrono::nanoseconds timeout, Omissions& omissions) {
  std::optional<Failure> local_failure;
  if (names_.needs_local) {
    try {
      local_.emplace(plugin_, names_, sampling_interval, timeout);
    } catch (const Failure& failure) {
      local_failure = failure;
    }
  }
  remote_.start(names_.remote, timeout, omissions);
  note_absent(local_failure.has_value());
  leave_out(remote_.events(), "offers events, not counters: 'tallyra-agent events' shows them");
  if (!local_ && remote_.counters().empty()) {
    throw local_failure ? *local_failure : none_left("counters");
  }
  if (local_failure) {
    omissions.add(with_way_out(*local_failure));
  }
}

void Providers::note_absent(bool lacks_local) {
  if (lacks_local) {
    absent_.emplace_back(kLocalProvider);
  }
  for (const std::string& asked_for : names_.remote) {
    const std::string name = kRemoteMark + asked_for;
    if (std::ranges::find(remote_.counters(), name, &RemoteCounters::name) ==
            remote_.counters().end() &&
        std::ranges::find(remote_.events(), name, &RemoteEvents::name) == remote_.events().end()) {
      absent_.push_back(name);
    }
  }
}

void Providers::start_events(std::chrono::nanoseconds timeout, Omissions& omissions) {
  if (!names_.asks_for_remote) {
    throw Failure(ExitCode::kUsage, "events are of remote providers, and none is enabled",
                  "name one, such as --enable grpc.process");
  }
  remote_.start(names_.remote, timeout, omissions);
  leave_out(remote_.counters(), "offers counters, not events: 'tallyra-agent read' shows them");
  if (remote_.events().empty()) {
    throw none_left("events");
  }
}

std::vector<CounterSource> Providers::counters() {
  std::vector<CounterSource> sources;
  if (local_) {
    tly_provider_t& record = local_->record();
    sources.push_back({&record, record.name != nullptr ? record.name : "", false});
  }
  for (const RemoteCounters& remote : remote_.counters()) {
    sources.push_back({remote.record.get(), remote.name, true});
  }
  return sources;
}

void Providers::finalize(std::chrono::nanoseconds limit, int exit_status) {
  if (local_) {
    local_->finalize(limit, exit_status);
    local_.reset();
  }
  if (!remote_.counters().empty() || !remote_.events().empty()) {
    const Watchdog watchdog(limit, exit_status,
                            "a remote provider does not end; not waiting for it");
    remote_.counters().clear();
    remote_.events().clear();
  }
}

}  // namespace tly::agent
