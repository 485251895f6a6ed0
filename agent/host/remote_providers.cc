#include "host/remote_providers.h"

#include "common/duration.h"
#include "common/watchdog.h"
#include "host/client_library.h"
#include "host/enabled_names.h"

namespace tly::agent {
namespace {

constexpr const char* kNamesOption = "enable-provider";

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) {
    text += (text.empty() ? "" : ", ") + (kRemoteMark + name);
  }
  return text;
}

Failure no_client(const std::vector<std::string>& names) {
  return {ExitCode::kProvider,
          "no remote-executor client could be loaded, which " + joined(names) + " would need",
          "name the file of libqpx_client.so with --client or in QPX_CLIENT_SO; with "
          "TLY_API_LOG_LEVEL=6 the library logs where it looks for it"};
}

Failure no_such_provider(const std::string& name) {
  return {
      ExitCode::kProvider,
      name +
          " cannot be started: the remote-executor client has no such provider, one of its "
          "plug-in is started already, or there is no connection",
      "see its name and the client (--client, QPX_CLIENT_SO); --log-level debug shows more, and "
      "TLY_API_LOG_LEVEL=6 how the library connects"};
}

// The groups of the first and the last component fetch the values and let go of them, which they do
// with counters only.
bool can_be_read(const tly_provider_t& provider) {
  const std::uint16_t count = provider.num_components;
  return count > 0 && provider.components[0]->num_counters > 0 &&
         provider.components[count - 1]->num_counters > 0;
}

}  // namespace

void EndRemote::operator()(tly_provider_t* provider) const {
  provider->provider_finalize(provider);
}

void EndRemote::operator()(tly_event_provider_t* provider) const {
  const auto finalize = provider->event_provider_finalize;
  provider->event_provider_stop(provider);
  finalize(nullptr);  // the record is gone
}

void RemoteProviders::start(const std::vector<std::string>& names, std::chrono::nanoseconds timeout,
                            Omissions& omissions) {
  if (names.empty()) {
    return;
  }
  if (!has_client()) {
    omissions.add(no_client(names));
    return;
  }
  custom_options_ = required(plugin_, plugin_.tly_dict_create());
  // Without patterns: those of the local provider are held against other names.
  options_.custom_options = custom_options_.get();
  for (const std::string& name : names) {
    if (!start_next(kRemoteMark + name, timeout)) {
      omissions.add(no_such_provider(kRemoteMark + name));
    }
  }
  std::erase_if(counters_, [&](const RemoteCounters& provider) {
    const bool is_left_out = !can_be_read(*provider.record);
    if (is_left_out) {
      omissions.add({ExitCode::kProvider,
                     provider.name + " cannot be read: its first or last component has no counters",
                     "it is for the remote provider to leave empty components out"});
    }
    return is_left_out;
  });
}

// The library takes the next name at each call. It is given one more name at a time, so that what
// it returns, or does not return, belongs to that one.
bool RemoteProviders::start_next(const std::string& name, std::chrono::nanoseconds timeout) {
  enabled_ += (enabled_.empty() ? "" : ",") + name;
  if (!plugin_.tly_dict_add(custom_options_.get(), kNamesOption, enabled_.c_str())) {
    throw std::bad_alloc();
  }
  const Watchdog watchdog(timeout, static_cast<int>(ExitCode::kNoSample),
                          name + " did not start within " + duration_text(timeout),
                          "see whether what the remote-executor client reaches answers, or wait "
                          "longer with --timeout");
  if (tly_provider_t* const counters = plugin_.rpe_mediator_construct_counter_provider(&options_)) {
    counters_.push_back({name, {counters, EndRemote()}});
    return true;
  }
  if (tly_event_provider_t* const events =
          plugin_.rpe_mediator_construct_event_provider(custom_options_.get())) {
    events_.push_back({name, {events, EndRemote()}});
    return true;
  }
  return false;
}

}  // namespace tly::agent
