#include "commands/event_format.h"

#include <chrono>

#include "host/owned.h"
#include "output/value_format.h"

namespace tly::agent {
namespace {

constexpr int kMicrosecondDigits = 6;

std::string timestamp_text(std::uint64_t timestamp_us) {
  const std::chrono::duration<std::uint64_t, std::micro> since_epoch(timestamp_us);
  return utc_timestamp(
      std::chrono::system_clock::time_point(
          std::chrono::duration_cast<std::chrono::system_clock::duration>(since_epoch)),
      kMicrosecondDigits);
}

std::string json_of(const char* text) { return json_string(text != nullptr ? text : ""); }

// The fields are converted one by one, so that one without a JSON form does not take the others
// with it.
std::string fields_text(const Plugin& plugin, const Event& event) {
  std::string text = "{";
  for (std::size_t i = 0; i < event.type->num_fields; ++i) {
    const tly_type_field_definition_t& field = *event.type->fields[i];
    const Json value(
        plugin.tly_type_field_definition_jsonify_data(&field, event.bytes + field.offset),
        Release{&plugin});
    const JsonText encoded(value ? plugin.json_serialize_to_string(value.get()) : nullptr,
                           Release{&plugin});
    text +=
        (i == 0 ? "" : ",") + json_of(field.field_name) + ":" + (encoded ? encoded.get() : "null");
  }
  return text + "}";
}

}  // namespace

std::string event_line(const Plugin& plugin, const EventBatch& batch, const Event& event) {
  return "{\"timestamp\":" + json_string(timestamp_text(event.timestamp_us)) +
         ",\"provider\":" + json_string(batch.provider) +
         ",\"source\":" + json_string(batch.source) + ",\"type\":" + json_of(event.type->name) +
         ",\"event\":" + fields_text(plugin, event) + "}\n";
}

}  // namespace tly::agent
