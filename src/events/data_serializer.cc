#include "tallyra/data_serializer.h"

#include <algorithm>
#include <cstring>

#include "common/clock.h"
#include "common/log.h"
#include "common/rate_limited_log.h"
#include "events/event_types.h"

namespace {

uint64_t event_size_of(const tly_data_serializer_t& serializer, uint8_t schema_index,
                       uint8_t type_index) noexcept {
  return tly::event_size(serializer.type_system, schema_index, type_index);
}

// The bytes after those written; none without a buffer.
uint64_t bytes_left_of(const tly_data_serializer_t& serializer) noexcept {
  return serializer.buffer != nullptr && serializer.used < serializer.capacity
             ? serializer.capacity - serializer.used
             : 0;
}

// The bytes that one more record would have for its events.
uint64_t free_space_of(const tly_data_serializer_t& serializer) noexcept {
  const uint64_t bytes_left = bytes_left_of(serializer);
  return bytes_left > TLY_EVENTS_HEADER_SIZE ? bytes_left - TLY_EVENTS_HEADER_SIZE : 0;
}

// Moves past bytes that the caller knows to be left; returns their address.
uint8_t* take(tly_data_serializer_t& serializer, uint64_t size) noexcept {
  uint8_t* const bytes = serializer.buffer + serializer.used;
  serializer.used += size;
  return bytes;
}

// Begins a record that the caller knows to fit; returns the address of its events.
uint8_t* begin_record(tly_data_serializer_t& serializer, uint8_t schema_index, uint8_t type_index,
                      uint8_t count, uint64_t data_size, uint64_t timestamp_us) noexcept {
  tly_events_header_t header{{}, {}, schema_index, type_index, 0, count};
  tly_magic_value_fill(&header.magic, tly::kEventsRecordType);
  std::memcpy(header.timestamp, &timestamp_us, sizeof timestamp_us);
  uint8_t* const record = take(serializer, sizeof header + data_size);
  std::memcpy(record, &header, sizeof header);
  return record + sizeof header;
}

void log_zero_size(tly::LastIssuedUs& last_issued_us, const tly_data_serializer_t& serializer,
                   uint8_t schema_index, uint8_t type_index) noexcept {
  if (!tly_log_is_enabled(TLY_LOG_LEVEL_ERROR)) {
    return;
  }
  // Schemas that were read have an id without its text.
  tly_schema_id_t id{};
  if (const auto* schema = tly::find_event_schema(serializer.type_system, schema_index)) {
    id = schema->id;
  }
  char id_text[TLY_SCHEMA_ID_STRING_SIZE];
  tly_schema_id_to_schema_string(&id, id_text);
  TLY_LOG_RATE_LIMITED(last_issued_us, TLY_LOG_LEVEL_ERROR, "schema %s type index %u size is zero",
                       id_text, unsigned{type_index});
}

constinit tly::LastIssuedUs write_issued_us{0};
constinit tly::LastIssuedUs capacity_issued_us{0};

}  // namespace

uint32_t tly_data_serializer_write_events_ts(tly_data_serializer_t* serializer,
                                             uint8_t schema_index, uint8_t type_index,
                                             const void* events, uint8_t count,
                                             uint64_t timestamp_us) {
  if (serializer == nullptr) {
    return 0;
  }
  const uint64_t event_size = event_size_of(*serializer, schema_index, type_index);
  if (event_size == 0) {
    log_zero_size(write_issued_us, *serializer, schema_index, type_index);
    return 0;
  }
  const uint64_t fitting = free_space_of(*serializer) / event_size;
  const auto written = static_cast<uint8_t>(std::min<uint64_t>(fitting, count));
  if (written == 0 || events == nullptr) {
    return 0;
  }
  const uint64_t data_size = written * event_size;
  uint8_t* const area =
      begin_record(*serializer, schema_index, type_index, written, data_size, timestamp_us);
  std::memcpy(area, events, data_size);
  return written;
}

uint32_t tly_data_serializer_write_events(tly_data_serializer_t* serializer, uint8_t schema_index,
                                          uint8_t type_index, const void* events, uint8_t count) {
  return tly_data_serializer_write_events_ts(serializer, schema_index, type_index, events, count,
                                             tly::microseconds_now());
}

void* tly_data_serializer_get_events_buffer(tly_data_serializer_t* serializer, uint8_t schema_index,
                                            uint8_t type_index, uint8_t count, uint64_t* size) {
  if (serializer == nullptr) {
    return nullptr;
  }
  const uint64_t event_size = event_size_of(*serializer, schema_index, type_index);
  uint64_t data_size = 0;
  if (__builtin_mul_overflow(event_size, uint64_t{count}, &data_size)) {
    data_size = UINT64_MAX;  // more than any data area has
  }
  const uint64_t free_space = free_space_of(*serializer);
  if (data_size > free_space || bytes_left_of(*serializer) < TLY_EVENTS_HEADER_SIZE) {
    TLY_LOG_DEBUG(
        "[Data Serializer][%s] Cannot get data buffer. free_space = %zu < data_size = %zu",
        "tly_data_serializer_get_events_buffer", static_cast<size_t>(free_space),
        static_cast<size_t>(data_size));
    return nullptr;
  }
  if (size != nullptr) {
    *size = data_size;
  }
  return begin_record(*serializer, schema_index, type_index, count, data_size,
                      tly::microseconds_now());
}

void* tly_data_serializer_reserve_buffer(tly_data_serializer_t* serializer, uint64_t size) {
  const bool fits = serializer != nullptr && serializer->buffer != nullptr &&
                    serializer->used <= serializer->capacity &&
                    size <= serializer->capacity - serializer->used;
  return fits ? take(*serializer, size) : nullptr;
}

uint64_t tly_data_serializer_get_capacity(const tly_data_serializer_t* serializer,
                                          uint8_t schema_index, uint8_t type_index) {
  if (serializer == nullptr) {
    return 0;
  }
  const uint64_t event_size = event_size_of(*serializer, schema_index, type_index);
  if (event_size == 0) {
    log_zero_size(capacity_issued_us, *serializer, schema_index, type_index);
    return 0;
  }
  return free_space_of(*serializer) / event_size;
}
