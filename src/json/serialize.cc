#include <cstdio>
#include <cstdlib>

#include "sink.h"
#include "tallyra/parson.h"
#include "writer.h"

namespace tly::json {
namespace {

char* to_string(const JSON_Value* value, Layout layout) noexcept {
  StringSink sink;
  return write_value(value, layout, sink) ? sink.take() : nullptr;
}

// With the NUL; 0 on failure.
std::size_t size_of(const JSON_Value* value, Layout layout) noexcept {
  SizeSink sink;
  return write_value(value, layout, sink) ? sink.size() + 1 : 0;
}

JSON_Status to_buffer(const JSON_Value* value, Layout layout, char* buffer,
                      std::size_t buffer_size) noexcept {
  const bool is_written = buffer != nullptr && write_if_it_fits(value, layout, buffer, buffer_size);
  return is_written ? JSONSuccess : JSONFailure;
}

JSON_Status to_file(const JSON_Value* value, Layout layout, const char* filename) noexcept {
  if (value == nullptr || filename == nullptr) return JSONFailure;
  std::FILE* file = std::fopen(filename, "we");
  if (file == nullptr) return JSONFailure;
  FileSink sink(file);
  const bool is_written = write_value(value, layout, sink) && sink.flush();
  const bool is_closed = std::fclose(file) == 0;
  return is_written && is_closed ? JSONSuccess : JSONFailure;
}

}  // namespace
}  // namespace tly::json

using namespace tly::json;

std::size_t json_serialization_size(const JSON_Value* value) {
  return size_of(value, Layout::kCompact);
}

std::size_t json_serialization_size_pretty(const JSON_Value* value) {
  return size_of(value, Layout::kPretty);
}

JSON_Status json_serialize_to_buffer(const JSON_Value* value, char* buffer,
                                     std::size_t buffer_size) {
  return to_buffer(value, Layout::kCompact, buffer, buffer_size);
}

JSON_Status json_serialize_to_buffer_pretty(const JSON_Value* value, char* buffer,
                                            std::size_t buffer_size) {
  return to_buffer(value, Layout::kPretty, buffer, buffer_size);
}

JSON_Status json_serialize_to_file(const JSON_Value* value, const char* filename) {
  return to_file(value, Layout::kCompact, filename);
}

JSON_Status json_serialize_to_file_pretty(const JSON_Value* value, const char* filename) {
  return to_file(value, Layout::kPretty, filename);
}

char* json_serialize_to_string(const JSON_Value* value) {
  return to_string(value, Layout::kCompact);
}

char* json_serialize_to_string_pretty(const JSON_Value* value) {
  return to_string(value, Layout::kPretty);
}

void json_free_serialized_string(char* string) { std::free(string); }
