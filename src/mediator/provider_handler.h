// One remote provider: the record that the agent sees, and what its callbacks need between calls.
#pragma once

#include <cstdint>

#include "common/owned.h"
#include "mediator/grpc_handler.h"
#include "mediator/remote_client.h"
#include "tallyra/rpe_mediator.h"

namespace tly {

// With everything that the record still holds.
void release_details(qpx_event_provider_details_t* details) noexcept;
using DetailsPtr = Owned<qpx_event_provider_details_t, &release_details>;

// Nothing that the client delivered is trusted. What the agent passes must be there unless an
// operation says otherwise.
class GrpcHandler::ProviderHandler {
 public:
  // Takes over the details, whose name and description pass to the record that it builds. What goes
  // wrong is logged and leaves the handler not ready.
  ProviderHandler(DetailsPtr details, bool counters) noexcept;
  ~ProviderHandler();
  ProviderHandler(const ProviderHandler&) = delete;
  ProviderHandler& operator=(const ProviderHandler&) = delete;

  bool ready() const noexcept { return ready_; }
  std::uint32_t remote_id() const noexcept { return remote_id_; }
  tly_event_provider_t* event_record() const noexcept { return event_record_.get(); }
  tly_provider_t* counter_provider() const noexcept { return counter_provider_.get(); }
  // The provider's name, or null.
  const char* getName() const noexcept;

  // mediated_counters.cc. The handler is that of the group's provider; a null group is an empty
  // one.
  static bool onReadCounterGroup(const RemoteClient& client, const tly_counter_group_t* group,
                                 tly_counter_value_t* values);

  // mediated_events.cc. Until start releases the details there are sources, which pass to the
  // caller once, and a configuration. The type system and the serializer may be null.
  bool onEventInitialize(tly_type_system_t* agent_types) noexcept;
  tly_source_array_t* take_sources() noexcept;
  bool copy_config(tly_event_provider_config_t* config) const noexcept;
  std::int32_t onEventProgress(const RemoteClient& client, std::uint16_t source_index,
                               tly_data_serializer_t* serializer);

  // Releases the details and what was read from them.
  void freeDetails() noexcept;

 private:
  struct EventRecordRelease {
    void operator()(tly_event_provider_t* record) const noexcept;
  };
  struct CounterProviderRelease {
    void operator()(tly_provider_t* provider) const noexcept;
  };
  struct Slice {
    const std::uint8_t* source;
    std::uint8_t* destination;
    std::uint32_t length;
  };
  // What a progress call brought.
  enum class Delivery { kData, kFailed, kNothing, kNullBuffer };

  bool setCountersProvider() noexcept;
  bool setEventsProvider() noexcept;
  bool parseComponentsFromTypeSystem() noexcept;
  bool add_component(std::uint16_t index) noexcept;

  void freeTypeSystem() noexcept;
  void freeTypeSystemStr() noexcept;
  void freeConfigs() noexcept;
  void freeSources() noexcept;

  // Fetches a buffer, which is held only when there is data in it.
  Delivery fetch(const RemoteClient& client, std::uint16_t source_index);
  // Releases the buffer.
  void onEndProgress() noexcept;

  Delivery fetch_counters(const RemoteClient& client, const tly_counter_group_t& group);
  bool prepareCountersBuffersMemcpy(const tly_counter_group_t& group, tly_counter_value_t* values,
                                    Slice& slice) const noexcept;

  std::int32_t copyEvents(tly_data_serializer_t* serializer) noexcept;
  std::int32_t read_header() noexcept;
  std::uint64_t checked_event_size(const tly_type_system_t* agent_types) const noexcept;

  DetailsPtr details_;
  std::unique_ptr<tly_event_provider_t, EventRecordRelease> event_record_;
  std::uint64_t remaining_events_ = 0;  // of the record that is being copied
  std::uint8_t type_index_ = 0;         // of the record that is being copied
  std::unique_ptr<tly_provider_t, CounterProviderRelease> counter_provider_;
  Owned<tly_type_system_t, &tly_destroy_type_system> counter_type_system_;
  std::uint32_t remote_id_ = 0;
  std::uint8_t schema_index_ = 0;  // in the agent's type system
  void* remote_buffer_ = nullptr;  // what the client delivered last, from malloc
  std::uint64_t buffer_size_ = 0;
  std::uint64_t read_offset_ = 0;
  bool ready_ = false;
  std::uint8_t next_provider_id_ = 0;
  bool schema_is_added_ = false;  // whether schema_index_ is set
};

}  // namespace tly
