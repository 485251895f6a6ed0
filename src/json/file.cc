#include <cstdio>
#include <cstdlib>
#include <memory>

#include "owned_text.h"
#include "tallyra/parson.h"

namespace tly::json {
namespace {

constexpr std::size_t kFirstCapacity = 4096;

struct CloseFile {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using OwnedFile = std::unique_ptr<std::FILE, CloseFile>;

// Doubles the room of a text; false when memory runs out.
bool grow(OwnedText& text, std::size_t& capacity) noexcept {
  char* grown = static_cast<char*>(std::realloc(text.get(), capacity * 2));
  if (grown == nullptr) return false;
  static_cast<void>(text.release());
  text.reset(grown);
  capacity *= 2;
  return true;
}

// The whole file and a NUL, or null. Its size is not asked for: pipes do not have one.
OwnedText read_file(const char* filename) noexcept {
  const OwnedFile file(filename == nullptr ? nullptr : std::fopen(filename, "re"));
  if (file == nullptr) return nullptr;
  std::size_t capacity = kFirstCapacity;
  std::size_t length = 0;
  OwnedText text(static_cast<char*>(std::malloc(capacity)));
  while (text != nullptr) {
    length += std::fread(text.get() + length, 1, capacity - length - 1, file.get());
    if (std::ferror(file.get()) != 0) return nullptr;
    text.get()[length] = '\0';
    if (std::feof(file.get()) != 0) return text;
    if (!grow(text, capacity)) return nullptr;
  }
  return nullptr;
}

}  // namespace
}  // namespace tly::json

using namespace tly::json;

JSON_Value* json_parse_file(const char* filename) {
  return json_parse_string(read_file(filename).get());
}

JSON_Value* json_parse_file_with_comments(const char* filename) {
  return json_parse_string_with_comments(read_file(filename).get());
}
