// Initialisation and progress of a remote event provider.
#include <algorithm>
#include <cstring>
#include <utility>

#include "common/log.h"
#include "common/printable.h"
#include "events/event_types.h"
#include "mediator/provider_handler.h"

namespace tly {
namespace {

constexpr std::size_t kLetterOffset = sizeof(tly_magic_value_t) - 1;

constexpr char kCopyEvents[] = "copyEvents";

std::uint8_t schemas_of(const tly_type_system_t* type_system) noexcept {
  return type_system != nullptr ? type_system->num_schemas : std::uint8_t{0};
}

}  // namespace

bool GrpcHandler::ProviderHandler::onEventInitialize(tly_type_system_t* agent_types) noexcept {
  const Owned<tly_type_system_t, &tly_destroy_type_system> remote_types(
      tly_type_system_deserialize(details_ != nullptr ? details_->type_system_json : nullptr));
  const std::uint8_t held_before = schemas_of(agent_types);
  std::uint8_t index = 0;
  const bool added = tly_type_system_clone_schemas(agent_types, remote_types.get(), &index) == 0;
  const auto moved = static_cast<std::uint8_t>(schemas_of(agent_types) - held_before);
  if (remote_types != nullptr) {
    // Those now belong to the agent, also when a later one failed.
    std::fill_n(remote_types->schemas, moved, nullptr);
  }
  if (!added) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] cannot add schemas (%s)", "onEventInitialize",
                  printable(getName()));
    return false;
  }
  remote_types->num_schemas = 0;
  schema_index_ = index;
  schema_is_added_ = moved > 0;
  freeTypeSystemStr();
  return true;
}

tly_source_array_t* GrpcHandler::ProviderHandler::take_sources() noexcept {
  return details_ != nullptr ? std::exchange(details_->sources, nullptr) : nullptr;
}

bool GrpcHandler::ProviderHandler::copy_config(tly_event_provider_config_t* config) const noexcept {
  if (config == nullptr || details_ == nullptr || details_->configs == nullptr) {
    return false;
  }
  *config = *details_->configs;
  return true;
}

std::int32_t GrpcHandler::ProviderHandler::onEventProgress(const RemoteClient& client,
                                                           std::uint16_t source_index,
                                                           tly_data_serializer_t* serializer) {
  constexpr const char* kFunction = "onEventProgress";
  const Delivery delivery =
      remote_buffer_ != nullptr ? Delivery::kData : fetch(client, source_index);
  if (delivery == Delivery::kFailed) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] could not complete 'progress' call", kFunction);
    return TLY_PROGRESS_FAILED;
  }
  if (delivery == Delivery::kNothing) {
    TLY_LOG_DEBUG("[RPE mediator provider] 0 bytes received (%s)", printable(getName()));
    return TLY_PROGRESS_DONE;
  }
  if (delivery == Delivery::kNullBuffer) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] buffer returned from remote %s plugin is NULL",
                  kFunction, printable(getName()));
    return TLY_PROGRESS_FAILED;
  }
  const std::int32_t result = copyEvents(serializer);
  if (result == TLY_PROGRESS_PENDING) {
    return result;
  }
  if (result == TLY_PROGRESS_FAILED) {
    remaining_events_ = 0;  // the next buffer begins with a header
  }
  onEndProgress();
  return result;
}

std::int32_t GrpcHandler::ProviderHandler::copyEvents(tly_data_serializer_t* serializer) noexcept {
  if (serializer == nullptr || serializer->type_system == nullptr) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] incomplete type (tly_data_serializer_t)",
                  kCopyEvents);
    return TLY_PROGRESS_FAILED;
  }
  while (read_offset_ < buffer_size_) {
    if (remaining_events_ == 0) {
      const std::int32_t result = read_header();
      if (result != TLY_PROGRESS_PENDING) {
        return result;
      }
      if (remaining_events_ == 0) {
        continue;
      }
    }
    const std::uint64_t event_bytes = checked_event_size(serializer->type_system);
    if (event_bytes == 0) {
      return TLY_PROGRESS_FAILED;
    }
    const std::uint32_t written = tly_data_serializer_write_events(
        serializer, schema_index_, type_index_,
        static_cast<const std::uint8_t*>(remote_buffer_) + read_offset_,
        static_cast<std::uint8_t>(remaining_events_));
    if (written == 0) {
      return TLY_PROGRESS_PENDING;
    }
    remaining_events_ -= written;
    read_offset_ += written * event_bytes;
  }
  return TLY_PROGRESS_DONE;
}

// Reads the header at the read offset: pending when its events are next, else how the buffer ends.
std::int32_t GrpcHandler::ProviderHandler::read_header() noexcept {
  tly_events_header_t header{};
  const std::uint64_t left = buffer_size_ - read_offset_;
  std::memcpy(&header, static_cast<const std::uint8_t*>(remote_buffer_) + read_offset_,
              std::min<std::uint64_t>(left, sizeof header));
  if (left > kLetterOffset && header.magic.bytes[kLetterOffset] != kEventsRecordType) {
    return TLY_PROGRESS_DONE;
  }
  if (left < sizeof header) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] header of %zu bytes only (%s)", kCopyEvents,
                  static_cast<std::size_t>(left), printable(getName()));
    return TLY_PROGRESS_FAILED;
  }
  remaining_events_ = header.count;
  type_index_ = header.type_index;
  read_offset_ += sizeof header;
  return TLY_PROGRESS_PENDING;
}

// The bytes of one of the remaining events; 0, with a message, when they cannot be copied.
std::uint64_t GrpcHandler::ProviderHandler::checked_event_size(
    const tly_type_system_t* agent_types) const noexcept {
  const std::uint64_t event_bytes =
      schema_is_added_ ? event_size(agent_types, schema_index_, type_index_) : 0;
  if (event_bytes == 0) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] the type system has no event type %u of %s",
                  kCopyEvents, type_index_, printable(getName()));
    return 0;
  }
  const std::uint64_t left = buffer_size_ - read_offset_;
  if (remaining_events_ > left / event_bytes) {
    TLY_LOG_ERROR(
        "[RPE mediator provider] [%s] %zu events of %zu bytes exceed the buffer from remote (%s), "
        "only %zuB left",
        kCopyEvents, static_cast<std::size_t>(remaining_events_),
        static_cast<std::size_t>(event_bytes), printable(getName()),
        static_cast<std::size_t>(left));
    return 0;
  }
  return event_bytes;
}

}  // namespace tly
