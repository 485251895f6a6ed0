#include "sink.h"

#include <algorithm>
#include <cstdint>

namespace tly::json {

bool StringSink::make_room(std::size_t bytes) noexcept {
  const std::size_t length = used();
  const std::size_t capacity = length + std::max({length, bytes, kMaxPieceBytes});
  char* grown = static_cast<char*>(std::realloc(start_, capacity));
  if (grown == nullptr) return false;
  set_area(grown, length, capacity);
  return true;
}

char* StringSink::take() noexcept {
  if (!append("", 1)) return nullptr;
  char* text = start_;
  char* shrunk = static_cast<char*>(std::realloc(text, used()));
  set_area(nullptr, 0, 0);
  return shrunk == nullptr ? text : shrunk;
}

bool SizeSink::make_room(std::size_t /*bytes*/) noexcept {
  dropped_ += used();
  set_area(area_, 0, sizeof(area_));
  return true;
}

bool BufferSink::make_room(std::size_t /*bytes*/) noexcept { return false; }

bool FileSink::flush() noexcept {
  const std::size_t length = used();
  set_area(area_, 0, sizeof(area_));
  return std::fwrite(area_, 1, length, file_) == length;
}

bool FileSink::make_room(std::size_t /*bytes*/) noexcept { return flush(); }

}  // namespace tly::json
