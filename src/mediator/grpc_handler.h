// The mediator's process-wide object.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "tallyra/event_provider.h"
#include "tallyra/options.h"
#include "tallyra/qpx_client.h"

namespace tly {

struct RemoteClient;

// Owns the connection to the remote executor and the remote providers started through it. The
// library has one instance, built while the library is being loaded and destroyed while it is being
// unloaded; whether it is connected never changes in between.
class GrpcHandler {
 public:
  class QPXHandler;       // the client loader, client_loader.h
  class ProviderHandler;  // one remote provider, provider_handler.h

  // The library's instance.
  static GrpcHandler& instance() noexcept;

  // Loads the client library and connects. No exception escapes: without memory, or with a client
  // that throws, the object is not connected.
  GrpcHandler() noexcept;
  ~GrpcHandler();
  GrpcHandler(const GrpcHandler&) = delete;
  GrpcHandler& operator=(const GrpcHandler&) = delete;

  bool connected() const noexcept { return connected_; }

  const RemoteClient& client() const noexcept;

  // Everything below is for while it is connected.

  // Hands everything to the client unchanged and returns its result; false when the client throws.
  // Takes no lock: nothing it reads changes after construction.
  bool runCommand(const char* command, bool flag, unsigned int time_limit, char** output,
                  unsigned long* length);

  // Construct the provider of the next name in the options; null when this call made none. They
  // throw std::bad_alloc; a provider that was being constructed can then be asked for again.
  tly_provider_t* getNextCounterProvider(const tly_options_t* options);
  tly_event_provider_t* getNextEventProvider(const tly_custom_options* options);

  // Ends the remote provider, deletes its handler and returns the client's status.
  std::int32_t stopProvider(const ProviderHandler& handler);

 private:
  using NameSet = std::set<std::string>;

  std::string parseNextProvider(const tly_custom_options* options);
  std::string next_loadable(const tly_custom_options* options, const char* function);
  void give_back(const std::string& name, NameSet& failed);
  tly_provider_t* tryLoadCounterProvider(const std::string& name, const tly_options_t* options);
  tly_event_provider_t* tryLoadEventProvider(const std::string& name,
                                             const tly_custom_options* options);
  const ProviderHandler* store(qpx_event_provider_details_t* filled, bool counters,
                               const char* function);

  // Destroyed from the last to the first: the handlers outlive the client.
  std::map<std::uint32_t, std::unique_ptr<ProviderHandler>> handlers_;  // by remote id
  NameSet failed_events_;
  NameSet failed_counters_;
  std::unique_ptr<QPXHandler> client_loader_;
  std::uint32_t provider_index_ = 0;  // names taken from the options
  bool connected_ = false;
};

}  // namespace tly
