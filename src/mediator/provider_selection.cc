// Which remote provider comes next, and its construction.
#include <algorithm>
#include <string_view>
#include <utility>

#include "common/log.h"
#include "common/owned.h"
#include "mediator/grpc_handler.h"
#include "mediator/provider_handler.h"
#include "mediator/remote_client.h"
#include "tallyra/string_utils.h"

namespace tly {
namespace {

constexpr char kOption[] = "enable-provider";
constexpr char kMark[] = "grpc.";

// Names of one plug-in: equal ones, and a name without a dot beside one that begins with it and a
// dot.
bool isSamePlugin(std::string_view a, std::string_view b) noexcept {
  const std::size_t dot_of_a = a.find('.');
  const std::size_t dot_of_b = b.find('.');
  if (dot_of_a == dot_of_b) {
    return a == b;
  }
  return (dot_of_a == a.npos && a == b.substr(0, dot_of_b)) ||
         (dot_of_b == b.npos && b == a.substr(0, dot_of_a));
}

void log_no_memory(const char* function) noexcept {
  TLY_LOG_ERROR("[RPE mediator provider] [%s] memory allocation error", function);
}

// The details that create(details) fills for a provider of that kind; null when it cannot be
// started.
template <typename Create>
qpx_event_provider_details_t* create_details(const char* function, const char* kind,
                                             const std::string& name, Create create) {
  auto details = allocate_zeroed<qpx_event_provider_details_t>();
  if (details == nullptr) {
    log_no_memory(function);
    return nullptr;
  }
  if (!create(details.get())) {
    TLY_LOG_DEBUG("[RPE mediator provider] [%s] failed starting remote %s provider", name.c_str(),
                  kind);
    return nullptr;
  }
  return details.release();
}

}  // namespace

// Empty when there is no further name, or when its plug-in is loaded.
std::string GrpcHandler::parseNextProvider(const tly_custom_options* options) {
  const char* const value = tly_dict_get(options, kOption);
  std::size_t position = 0;
  if (!find_ith_substr(value, kMark, provider_index_, &position)) {
    TLY_LOG_DEBUG("[RPE mediator provider] could not load provider #%u", provider_index_);
    return {};
  }
  const std::string_view rest(value + position + sizeof kMark - 1);
  std::string name(rest.substr(0, rest.find(',')));
  ++provider_index_;
  for (const auto& [remote_id, handler] : handlers_) {
    const char* const loaded = handler->getName();
    if (loaded != nullptr && isSamePlugin(loaded, name)) {
      TLY_LOG_DEBUG("[RPE mediator provider] already loaded %s, will skip %s", loaded,
                    name.c_str());
      return {};
    }
  }
  return name;
}

// The next name, passing over one that failed both ways.
std::string GrpcHandler::next_loadable(const tly_custom_options* options, const char* function) {
  std::string name = parseNextProvider(options);
  if (failed_counters_.contains(name) && failed_events_.contains(name)) {
    TLY_LOG_DEBUG(
        "[RPE mediator provider] [%s] skipping provider %s (failed for both counters and events)",
        function, name.c_str());
    name = parseNextProvider(options);
  }
  return name;
}

// Lets the next call parse the same name again.
void GrpcHandler::give_back(const std::string& name, NameSet& failed) {
  --provider_index_;
  failed.insert(name);
  TLY_LOG_DEBUG("[RPE mediator provider] could not load provider %s", name.c_str());
}

tly_provider_t* GrpcHandler::getNextCounterProvider(const tly_options_t* options) {
  const std::string name = next_loadable(options != nullptr ? options->custom_options : nullptr,
                                         "getNextCounterProvider");
  if (name.empty()) {
    return nullptr;
  }
  tly_provider_t* const provider = tryLoadCounterProvider(name, options);
  if (provider == nullptr) {
    give_back(name, failed_counters_);
  }
  return provider;
}

tly_event_provider_t* GrpcHandler::getNextEventProvider(const tly_custom_options* options) {
  const std::string name = next_loadable(options, "getNextEventProvider");
  if (name.empty()) {
    return nullptr;
  }
  tly_event_provider_t* const provider = tryLoadEventProvider(name, options);
  if (provider == nullptr) {
    give_back(name, failed_events_);
  }
  return provider;
}

tly_provider_t* GrpcHandler::tryLoadCounterProvider(const std::string& name,
                                                    const tly_options_t* options) {
  constexpr const char* kFunction = "tryLoadCounterProvider";
  const auto create = [&](qpx_event_provider_details_t* details) {
    return client().create_counter_provider(name.c_str(), options, details);
  };
  const ProviderHandler* const handler =
      store(create_details(kFunction, "counters", name, create), true, kFunction);
  return handler != nullptr ? handler->counter_provider() : nullptr;
}

tly_event_provider_t* GrpcHandler::tryLoadEventProvider(const std::string& name,
                                                        const tly_custom_options* options) {
  constexpr const char* kFunction = "tryLoadEventProvider";
  const auto create = [&](qpx_event_provider_details_t* details) {
    return client().create_event_provider(name.c_str(), options, details);
  };
  const ProviderHandler* const handler =
      store(create_details(kFunction, "events", name, create), false, kFunction);
  return handler != nullptr ? handler->event_record() : nullptr;
}

// Makes a handler over the filled details, which it takes over, in place of one with the same
// remote id. Null without details, when it is not ready or when memory runs out; they are then
// released.
const GrpcHandler::ProviderHandler* GrpcHandler::store(qpx_event_provider_details_t* filled,
                                                       bool counters, const char* function) {
  if (filled == nullptr) {
    return nullptr;
  }
  DetailsPtr details(filled);
  try {
    auto handler = std::make_unique<ProviderHandler>(std::move(details), counters);
    if (!handler->ready()) {
      return nullptr;
    }
    auto& slot = handlers_[handler->remote_id()];
    slot = std::move(handler);
    return slot.get();
  } catch (const std::bad_alloc&) {
    log_no_memory(function);
    return nullptr;
  }
}

}  // namespace tly
