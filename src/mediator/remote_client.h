// A connection to the remote executor, as a client library offers it.
#pragma once

#include <cstdint>

#include "tallyra/qpx_client.h"

namespace tly {

// The functions of a client library, in the order in which they are bound; null where unbound.
struct ClientFunctions {
  qpx_client_init_t init = nullptr;
  qpx_client_destroy_t destroy = nullptr;
  qpx_client_event_provider_create_t event_provider_create = nullptr;
  qpx_client_event_provider_progress_t event_provider_progress = nullptr;
  qpx_client_event_provider_terminate_t event_provider_terminate = nullptr;
  qpx_client_counter_provider_create_t counter_provider_create = nullptr;
  qpx_client_run_command_t run_command = nullptr;
};

// Calls the functions with the client handle in front. An exception of the client's counts as its
// failure. Every function called must be bound.
struct RemoteClient {
  bool create_counter_provider(const char* name, const tly_options_t* options,
                               qpx_event_provider_details_t* details) const;
  bool create_event_provider(const char* name, const tly_custom_options* options,
                             qpx_event_provider_details_t* details) const;
  bool progress(std::uint32_t remote_id, std::uint16_t source_index, void** buffer,
                std::uint64_t* size) const;
  // -1 when the client throws.
  std::int32_t terminate(std::uint32_t remote_id) const;
  bool run_command(const char* command, bool flag, std::uint32_t time_limit, char** output,
                   std::uint64_t* length) const;

  ClientFunctions functions;
  void* handle = nullptr;
};

}  // namespace tly
