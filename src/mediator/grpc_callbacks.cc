// The callbacks in the records of mediated providers, in the order of their calls. Nothing in them
// throws: the client's exceptions end where it is called.
#include "common/log.h"
#include "common/owned.h"
#include "common/printable.h"
#include "mediator/grpc_handler.h"
#include "mediator/provider_handler.h"
#include "tallyra/rpe_mediator.h"

using tly::GrpcHandler;
using ProviderHandler = GrpcHandler::ProviderHandler;

namespace {

// The handler behind a provider or component; null for a null one.
template <typename Record>
ProviderHandler* handler_of(const Record* record) noexcept {
  return record != nullptr ? static_cast<ProviderHandler*>(record->context) : nullptr;
}

}  // namespace

bool grpc_counter_provider_initialize(tly_provider_t* /*provider*/,
                                      const tly_options_t* /*options*/) {
  return true;
}

tly_counter_group_t* grpc_counter_group_create(const tly_component_t* component) {
  const ProviderHandler* const handler = handler_of(component);
  if (handler == nullptr) {
    return nullptr;
  }
  auto group = tly::allocate_zeroed<tly_counter_group_t>();
  if (group == nullptr) {
    TLY_LOG_ERROR("Failed to allocate memory for remote plugin %s (component: %s)",
                  tly::printable(handler->getName()), tly::printable(component->name));
    return nullptr;
  }
  group->component_id = component->id;
  group->granularity = TLY_GRANULARITY_NODE;
  group->num_counter_sets = 1;
  return group.release();
}

bool grpc_counter_group_add_counter(tly_counter_group_t* group,
                                    const tly_counter_info_t* /*counter*/) {
  if (group == nullptr) {
    return false;
  }
  ++group->num_counters;
  return true;
}

bool grpc_counter_group_start(tly_counter_group_t* /*group*/) { return true; }

bool grpc_counter_group_read(tly_counter_group_t* group, tly_counter_value_t* values) {
  return ProviderHandler::onReadCounterGroup(GrpcHandler::instance().client(), group, values);
}

bool grpc_counter_group_stop(tly_counter_group_t* /*group*/, tly_counter_value_t* /*values*/) {
  return true;
}

bool grpc_counter_group_destroy(tly_counter_group_t* group) {
  tly_free_counter_group(group);
  return true;
}

void grpc_counter_provider_finalize(tly_provider_t* provider) {
  if (const ProviderHandler* const handler = handler_of(provider)) {
    GrpcHandler::instance().stopProvider(*handler);
  }
}

bool grpc_event_provider_initialize(tly_event_provider_t* provider,
                                    tly_type_system_t* type_system) {
  ProviderHandler* const handler = handler_of(provider);
  return handler != nullptr && handler->onEventInitialize(type_system);
}

tly_source_array_t* grpc_event_provider_get_sources(tly_event_provider_t* provider) {
  ProviderHandler* const handler = handler_of(provider);
  return handler != nullptr ? handler->take_sources() : nullptr;
}

bool grpc_event_provider_get_source_config(tly_event_provider_t* provider,
                                           uint16_t /*source_index*/,
                                           tly_event_provider_config_t* config) {
  const ProviderHandler* const handler = handler_of(provider);
  return handler != nullptr && handler->copy_config(config);
}

bool grpc_event_provider_start(tly_event_provider_t* provider) {
  ProviderHandler* const handler = handler_of(provider);
  if (handler == nullptr) {
    return false;
  }
  handler->freeDetails();
  return true;
}

int32_t grpc_event_provider_progress(tly_event_provider_t* provider, uint16_t source_index,
                                     tly_data_serializer_t* serializer) {
  ProviderHandler* const handler = handler_of(provider);
  return handler != nullptr
             ? handler->onEventProgress(GrpcHandler::instance().client(), source_index, serializer)
             : TLY_PROGRESS_FAILED;
}

int32_t grpc_event_provider_stop(tly_event_provider_t* provider) {
  const ProviderHandler* const handler = handler_of(provider);
  return handler != nullptr ? GrpcHandler::instance().stopProvider(*handler) : -1;
}

void grpc_event_provider_finalize(tly_event_provider_t* /*provider*/) {}
