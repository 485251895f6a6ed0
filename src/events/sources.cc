#include "tallyra/sources.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <span>
#include <utility>

#include "common/log.h"
#include "common/pointer_array.h"
#include "common/printable.h"
#include "events/source_building.h"
#include "tallyra/client_id.h"
#include "tallyra/string_utils.h"

namespace {

std::string_view view_of(const char* text) { return text != nullptr ? text : std::string_view(); }

// Empty for a missing array or storage.
std::span<tly_source_t* const> entries_of(const tly_source_array_t* array) {
  if (array == nullptr || array->sources == nullptr) {
    return {};
  }
  return {array->sources, array->count};
}

// Fails as tly_source_array_append(); the source is then destroyed.
bool append_owned(tly_source_array_t* array, tly::SourcePtr source) noexcept {
  const bool is_appended = tly_source_array_append(array, source.get());
  if (is_appended) {
    static_cast<void>(source.release());
  }
  return is_appended;
}

}  // namespace

namespace tly {

SourcePtr make_source(std::string_view id, std::string_view tag) noexcept {
  SourcePtr source(allocate_zeroed<tly_source_t>().release());
  if (source) {
    tly_strncpy(source->id, sizeof source->id, id.data(), id.size());
    tly_strncpy(source->tag, sizeof source->tag, tag.data(), tag.size());
  }
  return source;
}

bool append_new_source(tly_source_array_t* array, std::string_view id) noexcept {
  return append_owned(array, make_source(id));
}

bool read_default_source_id(SourceId& id) noexcept {
  std::memset(id, 0, sizeof id);
  if (const char* const configured = std::getenv("TLY_SOURCE_ID")) {
    tly_strncpy(id, sizeof id, configured, std::strlen(configured));
    return true;
  }
  if (tly_get_hostname(id, sizeof id) == nullptr) {
    TLY_LOG_ERROR("[source] Failed to get host name: %s", std::strerror(errno));
    return false;
  }
  return true;
}

}  // namespace tly

tly_source_t* tly_create_source(const char* id, const char* tag) {
  return tly::make_source(view_of(id), view_of(tag)).release();
}

tly_source_t* tly_create_default_source(const char* tag) {
  tly::SourceId id;
  return tly::read_default_source_id(id) ? tly_create_source(id, tag) : nullptr;
}

void tly_destroy_source(tly_source_t* source) { std::free(source); }

void tly_source_copy(tly_source_t* destination, const tly_source_t* source) {
  *destination = *source;
}

int tly_source_compare(const tly_source_t* a, const tly_source_t* b) {
  const int by_id = std::strcmp(a->id, b->id);
  return by_id != 0 ? by_id : std::strcmp(a->tag, b->tag);
}

char* tly_source_string(const tly_source_t* source) {
  return source != nullptr ? strdup(source->id) : nullptr;
}

bool tly_source_full_string(const tly_source_t* source, char* buffer, uint64_t size) {
  if (source == nullptr || buffer == nullptr) {
    return false;
  }
  const size_t id_length = std::strlen(source->id);
  const size_t tag_length = std::strlen(source->tag);
  if (id_length + tag_length + 2 > size) {
    TLY_LOG_DEBUG("[source] buffer too small for source %s:%s (got %zu)", source->id, source->tag,
                  static_cast<size_t>(size));
    return false;
  }
  std::memcpy(buffer, source->id, id_length);
  buffer[id_length] = ':';
  std::memcpy(buffer + id_length + 1, source->tag, tag_length + 1);
  return true;
}

tly_source_array_t* tly_create_source_array(void) {
  return tly::allocate_zeroed<tly_source_array_t>().release();
}

tly_source_array_t* tly_create_default_source_array(const char* tag) {
  tly::SourceArrayPtr array(tly_create_source_array());
  tly::SourcePtr source(array ? tly_create_default_source(tag) : nullptr);
  return append_owned(array.get(), std::move(source)) ? array.release() : nullptr;
}

bool tly_source_array_append(tly_source_array_t* array, tly_source_t* source) {
  if (array == nullptr || source == nullptr || array->count >= TLY_MAX_SOURCES ||
      !tly::grow_by_one(array->sources, array->count)) {
    return false;
  }
  array->sources[array->count++] = source;
  return true;
}

uint16_t tly_source_array_find_source(const tly_source_array_t* array, const tly_source_t* source) {
  uint16_t index = 0;
  for (const tly_source_t* const entry : entries_of(array)) {
    if (entry == source) {
      return index;
    }
    ++index;
  }
  return TLY_SOURCE_NOT_FOUND;
}

uint16_t tly_source_array_log(const tly_source_array_t* array, const char* name) {
  size_t index = 0;
  for (const tly_source_t* const entry : entries_of(array)) {
    TLY_LOG_DEBUG("%s[%zu] = %s", tly::printable(name), index,
                  tly::printable(entry != nullptr ? entry->id : nullptr));
    ++index;
  }
  return array != nullptr ? array->count : 0;
}

void tly_destroy_source_array(tly_source_array_t* array) {
  if (array == nullptr) {
    return;
  }
  for (tly_source_t* const entry : entries_of(array)) {
    tly_destroy_source(entry);
  }
  std::free(array->sources);
  std::free(array);
}
