// What a test makes a loaded scripted client do with providers.
#pragma once

#include "tallyra/qpx_client.h"

namespace tly::test {

// Called as the client's own functions are. Where one is null, as all are at first, creates and
// progress fail and terminate returns 0.
struct ClientScript {
  qpx_client_counter_provider_create_t create_counters;
  qpx_client_event_provider_create_t create_events;
  qpx_client_event_provider_progress_t progress;
  qpx_client_event_provider_terminate_t terminate;
};

// The client exports this as "scripted_client_follow", which copies the script.
using ScriptedClientFollow = void(const ClientScript* followed);

}  // namespace tly::test
