#include "mediator/remote_client.h"

#include "common/boundary.h"

namespace tly {

bool RemoteClient::create_counter_provider(const char* name, const tly_options_t* options,
                                           qpx_event_provider_details_t* details) const {
  return result_or(
      false, [&] { return functions.counter_provider_create(handle, name, options, details); });
}

bool RemoteClient::create_event_provider(const char* name, const tly_custom_options* options,
                                         qpx_event_provider_details_t* details) const {
  return result_or(false,
                   [&] { return functions.event_provider_create(handle, name, options, details); });
}

bool RemoteClient::progress(std::uint32_t remote_id, std::uint16_t source_index, void** buffer,
                            std::uint64_t* size) const {
  return result_or(false, [&] {
    return functions.event_provider_progress(handle, remote_id, source_index, buffer, size);
  });
}

std::int32_t RemoteClient::terminate(std::uint32_t remote_id) const {
  return result_or<std::int32_t>(
      -1, [&] { return functions.event_provider_terminate(handle, remote_id); });
}

bool RemoteClient::run_command(const char* command, bool flag, std::uint32_t time_limit,
                               char** output, std::uint64_t* length) const {
  return result_or(false, [&] {
    return functions.run_command(handle, command, flag, time_limit, output, length);
  });
}

}  // namespace tly
