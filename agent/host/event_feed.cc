#include "host/event_feed.h"

#include <algorithm>
#include <span>

#include "common/duration.h"
#include "common/watchdog.h"
#include "host/event_layout.h"

namespace tly::agent {
namespace {

constexpr std::size_t kUsualCapacity = 64 << 10;
constexpr std::size_t kLargestCapacity = 64 << 20;
constexpr const char* kSeeLog = "run this command again with --log-level debug to see why";

}  // namespace

EventFeed::EventFeed(const Plugin& plugin, tly_type_system_t& type_system,
                     const std::vector<RemoteEvents>& providers, std::chrono::nanoseconds timeout,
                     Omissions& omissions)
    : plugin_(plugin), timeout_(timeout), omissions_(omissions) {
  serializer_.type_system = &type_system;
  for (const RemoteEvents& provider : providers) {
    if (!initialize(provider)) {
      omissions_.add({ExitCode::kProvider,
                      provider.name + " cannot be used: its event types are not understood",
                      kSeeLog});
    }
  }
  // An empty buffer takes one event of any type, within reason.
  const std::size_t largest_event = plugin.tly_type_system_get_max_event_type_size(&type_system);
  buffer_.resize(
      std::clamp(TLY_EVENTS_HEADER_SIZE + largest_event, kUsualCapacity, kLargestCapacity));
  serializer_.buffer = buffer_.data();
  serializer_.capacity = buffer_.size();
}

bool EventFeed::initialize(const RemoteEvents& provider) {
  tly_event_provider_t* const record = provider.record.get();
  const tly_type_system_t& types = *serializer_.type_system;
  const std::size_t held_before = types.num_schemas;
  if (!record->event_provider_initialize(record, serializer_.type_system)) {
    return false;
  }
  // The library leaves it to agents which layouts they trust.
  const auto added = std::span(types.schemas, types.num_schemas).subspan(held_before);
  if (!std::all_of(added.begin(), added.end(), [](const auto* s) { return is_packed(*s); })) {
    return false;
  }
  Sources sources(record->event_provider_get_sources(record), Release{&plugin_});
  if (!sources || sources->count == 0) {
    // The events of a provider that names no source are of this machine.
    sources = required(plugin_, plugin_.tly_create_default_source_array(""));
  }
  std::vector<tly_event_provider_config_t> configs(sources->count);
  for (std::uint16_t i = 0; i < sources->count; ++i) {
    record->event_provider_get_source_config(record, i, &configs[i]);
  }
  feeds_.push_back({&provider, std::move(sources), std::move(configs)});
  return true;
}

void EventFeed::start() {
  std::erase_if(feeds_, [this](const Feed& feed) {
    tly_event_provider_t* const record = feed.provider->record.get();
    const bool is_started = record->event_provider_start(record);
    if (!is_started) {
      omissions_.add({ExitCode::kProvider, feed.provider->name + " does not start", kSeeLog});
    }
    return !is_started;
  });
  require_feeds();
}

void EventFeed::fetch(const Sink& sink) {
  for (auto feed = feeds_.begin(); feed != feeds_.end();) {
    Result result = Result::kDone;
    for (std::uint16_t i = 0; i < feed->sources->count && result == Result::kDone; ++i) {
      result = fetch_source(*feed, i, sink);
    }
    if (result == Result::kStopped) {
      return;
    }
    feed = result == Result::kUnusable ? feeds_.erase(feed) : feed + 1;
  }
  require_feeds();
}

EventFeed::Result EventFeed::fetch_source(Feed& feed, std::uint16_t source, const Sink& sink) {
  for (;;) {
    serializer_.used = 0;
    const std::int32_t status = progress(feed, source);
    const std::span<const std::uint8_t> records(buffer_.data(), serializer_.used);
    if (!records.empty() &&
        !sink({feed.provider->name, feed.sources->sources[source]->id, records})) {
      return Result::kStopped;
    }
    if (status == TLY_PROGRESS_FAILED) {
      report_failed_progress(feed);
    }
    if (status != TLY_PROGRESS_PENDING) {
      return Result::kDone;
    }
    if (records.empty()) {
      omissions_.add({ExitCode::kProvider,
                      feed.provider->name + " has an event that cannot be taken, of more than " +
                          std::to_string(buffer_.size()) + " bytes or of an unknown type",
                      kSeeLog});
      return Result::kUnusable;
    }
  }
}

std::int32_t EventFeed::progress(Feed& feed, std::uint16_t source) {
  const Watchdog watchdog(timeout_, static_cast<int>(ExitCode::kNoSample),
                          feed.provider->name + " did not answer within " + duration_text(timeout_),
                          "see whether what the remote-executor client reaches answers, or wait "
                          "longer with --timeout");
  tly_event_provider_t* const record = feed.provider->record.get();
  return record->event_provider_progress(record, source, &serializer_);
}

// The next call tries again; the library logs each failure.
void EventFeed::report_failed_progress(Feed& feed) {
  if (!feed.has_failed_before) {
    feed.has_failed_before = true;
    omissions_.add({ExitCode::kProvider,
                    feed.provider->name + " failed to deliver events; some may be lost",
                    "each further failure is logged"});
  }
}

void EventFeed::require_feeds() const {
  if (feeds_.empty()) {
    throw Failure(ExitCode::kProvider, "no provider of events is left", kSeeLog);
  }
}

}  // namespace tly::agent
