#include "mediator/provider_handler.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <span>
#include <utility>

#include "common/log.h"
#include "common/printable.h"

namespace tly {
namespace {

template <typename T>
void free_and_clear(T*& pointer) noexcept {
  std::free(pointer);
  pointer = nullptr;
}

// Whether each value of the schema is as long as agents take it to be, and 32 bits measure all of
// them. With any other an agent could be made to write outside its values area.
bool can_be_laid_out(const tly_counters_schema_t& schema) noexcept {
  std::uint64_t size = 0;
  for (const tly_counter_group_t* group : std::span(schema.groups, schema.num_groups)) {
    for (const tly_counter_info_t* counter : std::span(group->counters, group->num_counters)) {
      const bool is_text = counter->data_type == TLY_DATA_TYPE_STRING;
      if (is_text ? counter->length == 0 : counter->length > sizeof(tly_counter_value_t)) {
        return false;
      }
      size += std::max<std::uint64_t>(counter->length, sizeof(tly_counter_value_t));
    }
  }
  return size <= UINT32_MAX;
}

}  // namespace

void release_details(qpx_event_provider_details_t* details) noexcept {
  std::free(details->type_system_json);
  std::free(details->configs);
  tly_destroy_source_array(details->sources);
  std::free(details->name);
  std::free(details->description);
  std::free(details);
}

GrpcHandler::ProviderHandler::ProviderHandler(DetailsPtr details, bool counters) noexcept
    : details_(std::move(details)), remote_id_(details_->remote_id) {
  ready_ = counters ? setCountersProvider() : setEventsProvider();
  if (ready_) {
    return;
  }
  if (counters) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] could not setup counters provider",
                  "ProviderHandler");
  } else {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] could not setup events provider",
                  "ProviderHandler");
  }
}

GrpcHandler::ProviderHandler::~ProviderHandler() {
  freeDetails();
  std::free(remote_buffer_);
  event_record_.reset();
  counter_provider_.reset();
}

void GrpcHandler::ProviderHandler::EventRecordRelease::operator()(
    tly_event_provider_t* record) const noexcept {
  std::free(record->name);
  std::free(record->description);
  std::free(record);
}

// The components' names and counters are the type system's.
void GrpcHandler::ProviderHandler::CounterProviderRelease::operator()(
    tly_provider_t* provider) const noexcept {
  std::free(provider->name);
  std::free(provider->description);
  if (provider->components != nullptr) {
    for (std::uint16_t index = 0; index < provider->num_components; ++index) {
      std::free(provider->components[index]);
    }
  }
  std::free(provider->components);
  std::free(provider);
}

bool GrpcHandler::ProviderHandler::setEventsProvider() noexcept {
  event_record_.reset(allocate_zeroed<tly_event_provider_t>().release());
  if (event_record_ == nullptr) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] memory allocation error", "setEventsProvider");
    return false;
  }
  tly_event_provider_t& record = *event_record_;
  record.id = details_->record_id;
  record.name = std::exchange(details_->name, nullptr);
  record.description = std::exchange(details_->description, nullptr);
  record.context = this;
  record.event_provider_initialize = &grpc_event_provider_initialize;
  record.event_provider_start = &grpc_event_provider_start;
  record.event_provider_progress = &grpc_event_provider_progress;
  record.event_provider_stop = &grpc_event_provider_stop;
  record.event_provider_finalize = &grpc_event_provider_finalize;
  record.event_provider_get_sources = &grpc_event_provider_get_sources;
  record.event_provider_get_source_config = &grpc_event_provider_get_source_config;
  return true;
}

bool GrpcHandler::ProviderHandler::setCountersProvider() noexcept {
  counter_provider_.reset(allocate_zeroed<tly_provider_t>().release());
  if (counter_provider_ == nullptr) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] memory allocation error", "setCountersProvider");
    return false;
  }
  tly_provider_t& provider = *counter_provider_;
  provider.name = std::exchange(details_->name, nullptr);
  provider.description = std::exchange(details_->description, nullptr);
  provider.context = this;
  provider.provider_initialize = &grpc_counter_provider_initialize;
  provider.provider_finalize = &grpc_counter_provider_finalize;
  provider.counter_group_create = &grpc_counter_group_create;
  provider.counter_group_destroy = &grpc_counter_group_destroy;
  provider.counter_group_add_counter = &grpc_counter_group_add_counter;
  provider.counter_group_start = &grpc_counter_group_start;
  provider.counter_group_stop = &grpc_counter_group_stop;
  provider.counter_group_read = &grpc_counter_group_read;
  if (!parseComponentsFromTypeSystem()) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] could not set counter type system",
                  "setCountersProvider");
    return false;
  }
  return true;
}

bool GrpcHandler::ProviderHandler::parseComponentsFromTypeSystem() noexcept {
  constexpr const char* kFunction = "parseComponentsFromTypeSystem";
  counter_type_system_.reset(tly_type_system_deserialize(details_->type_system_json));
  if (counter_type_system_ == nullptr) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] could not deserialize counter type system",
                  kFunction);
    return false;
  }
  freeTypeSystemStr();
  tly_provider_t& provider = *counter_provider_;
  provider.id = next_provider_id_++;
  const tly_counters_schema_t* const schema = counter_type_system_->counters_schema;
  const auto count = static_cast<std::uint16_t>(schema != nullptr ? schema->num_groups : 0);
  provider.num_components = count;
  if (count == 0) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] 0 components (%s)", kFunction,
                  printable(getName()));
    return false;
  }
  if (!can_be_laid_out(*schema)) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] counters that cannot be laid out (%s)", kFunction,
                  printable(getName()));
    return false;
  }
  provider.components =
      static_cast<tly_component_t**>(std::calloc(count, sizeof(tly_component_t*)));
  if (provider.components == nullptr) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] could not allocate counter components", kFunction);
    return false;
  }
  for (std::uint16_t index = 0; index < count; ++index) {
    if (!add_component(index)) {
      TLY_LOG_ERROR("[RPE mediator provider] [%s] could not allocate counter component", kFunction);
      return false;
    }
  }
  return true;
}

// Creates the component that represents a group of the remote counters schema; false when memory
// runs out.
bool GrpcHandler::ProviderHandler::add_component(std::uint16_t index) noexcept {
  auto component = allocate_zeroed<tly_component_t>();
  if (component == nullptr) {
    return false;
  }
  tly_counter_group_t& group = *counter_type_system_->counters_schema->groups[index];
  component->id = index;
  component->granularity = group.granularity;
  component->name = group.name;
  component->enabled = true;
  component->num_counters = static_cast<std::int32_t>(group.num_counters);
  component->counters = group.counters;
  component->context = this;
  for (std::uint32_t position = 0; position < group.num_counters; ++position) {
    group.counters[position]->mandatory = true;
  }
  group.component = component.get();
  counter_provider_->components[index] = component.release();
  return true;
}

const char* GrpcHandler::ProviderHandler::getName() const noexcept {
  if (event_record_ != nullptr) {
    return event_record_->name;
  }
  return counter_provider_ != nullptr ? counter_provider_->name : nullptr;
}

void GrpcHandler::ProviderHandler::freeTypeSystem() noexcept { counter_type_system_.reset(); }

void GrpcHandler::ProviderHandler::freeTypeSystemStr() noexcept {
  if (details_ != nullptr) {
    free_and_clear(details_->type_system_json);
  }
}

void GrpcHandler::ProviderHandler::freeConfigs() noexcept {
  if (details_ != nullptr) {
    free_and_clear(details_->configs);
  }
}

void GrpcHandler::ProviderHandler::freeSources() noexcept {
  if (details_ != nullptr) {
    tly_destroy_source_array(std::exchange(details_->sources, nullptr));
  }
}

void GrpcHandler::ProviderHandler::freeDetails() noexcept {
  if (details_ == nullptr) {
    return;
  }
  freeTypeSystem();
  freeTypeSystemStr();
  freeConfigs();
  freeSources();
  details_.reset();
}

GrpcHandler::ProviderHandler::Delivery GrpcHandler::ProviderHandler::fetch(
    const RemoteClient& client, std::uint16_t source_index) {
  const bool succeeded = client.progress(remote_id_, source_index, &remote_buffer_, &buffer_size_);
  if (succeeded && buffer_size_ != 0 && remote_buffer_ != nullptr) {
    return Delivery::kData;
  }
  const bool is_empty = buffer_size_ == 0;
  onEndProgress();
  if (!succeeded) {
    return Delivery::kFailed;
  }
  return is_empty ? Delivery::kNothing : Delivery::kNullBuffer;
}

void GrpcHandler::ProviderHandler::onEndProgress() noexcept {
  free_and_clear(remote_buffer_);
  buffer_size_ = 0;
  read_offset_ = 0;
}

}  // namespace tly
