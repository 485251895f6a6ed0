// The JSON layer: what is read is written and read back, and shapes are compared. A NUL in the
// input parts two documents.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "checks.h"
#include "encoding/json_ptr.h"

namespace {

using tly::JsonPtr;
using tly::fuzz::require;
using Text = tly::Owned<char, &json_free_serialized_string>;

constexpr JSON_Value* (*kParsers[])(const char*) = {&json_parse_string,
                                                    &json_parse_string_with_comments};

struct Form {
  char* (*write)(const JSON_Value*);
  size_t (*size)(const JSON_Value*);
  JSON_Status (*write_to)(const JSON_Value*, char*, size_t);
};
constexpr Form kForms[] = {
    {&json_serialize_to_string, &json_serialization_size, &json_serialize_to_buffer},
    {&json_serialize_to_string_pretty, &json_serialization_size_pretty,
     &json_serialize_to_buffer_pretty},
};

void check_buffer(const JSON_Value* value, const Form& form, const char* text) {
  const size_t size = std::strlen(text) + 1;
  require(form.size(value) == size);
  std::vector<char> buffer(size - 1, '?');
  require(form.write_to(value, buffer.data(), size - 1) == JSONFailure);
  require(std::all_of(buffer.begin(), buffer.end(), [](char byte) { return byte == '?'; }));
  buffer.resize(size);
  require(form.write_to(value, buffer.data(), size) == JSONSuccess);
  require(std::memcmp(buffer.data(), text, size) == 0);
}

void check_round_trips(const JSON_Value* value) {
  for (const Form& form : kForms) {
    const Text text(form.write(value));
    require(text != nullptr);
    check_buffer(value, form, text.get());
    for (const auto parse : kParsers) {
      const JsonPtr again(parse(text.get()));
      require(json_value_equals(value, again.get()) == 1);
      require(std::strcmp(Text(form.write(again.get())).get(), text.get()) == 0);
    }
  }
  const JsonPtr copy(json_value_deep_copy(value));
  require(json_value_equals(copy.get(), value) == 1);
}

// Every child knows its parent, and every member is found by its name.
void check_links(const JSON_Value* value) {
  const JSON_Array* const array = json_array(value);
  for (size_t i = 0; i < json_array_get_count(array); ++i) {
    const JSON_Value* const element = json_array_get_value(array, i);
    require(json_value_get_parent(element) == value);
    check_links(element);
  }
  const JSON_Object* const object = json_object(value);
  for (size_t i = 0; i < json_object_get_count(object); ++i) {
    const JSON_Value* const member = json_object_get_value_at(object, i);
    require(json_object_get_value(object, json_object_get_name(object, i)) == member);
    require(json_value_get_parent(member) == value);
    check_links(member);
  }
}

bool has_shape(const JSON_Value* schema, const JSON_Value* value) {
  const JSON_Value_Type type = json_type(schema);
  if (type == JSONNull || type != json_type(value)) {
    return type == JSONNull;
  }
  const JSON_Value* const first = json_array_get_value(json_array(schema), 0);
  for (size_t i = 0; first != nullptr && i < json_array_get_count(json_array(value)); ++i) {
    if (!has_shape(first, json_array_get_value(json_array(value), i))) {
      return false;
    }
  }
  const JSON_Object* const members = json_object(schema);
  for (size_t i = 0; i < json_object_get_count(members); ++i) {
    const char* const name = json_object_get_name(members, i);
    const JSON_Value* const found = json_object_get_value(json_object(value), name);
    if (found == nullptr || !has_shape(json_object_get_value_at(members, i), found)) {
      return false;
    }
  }
  return true;
}

JsonPtr check_document(const std::string& document) {
  JsonPtr value(json_parse_string(document.c_str()));
  const JsonPtr with_comments(json_parse_string_with_comments(document.c_str()));
  const tly::fuzz::MemoryFile file(document);
  const JsonPtr from_file(json_parse_file(file.path().c_str()));
  require(json_value_equals(value.get(), from_file.get()) == 1);
  if (document.find('/') == document.npos && !document.starts_with("\xEF\xBB\xBF")) {
    require(json_value_equals(value.get(), with_comments.get()) == 1);
  }
  for (const JSON_Value* const parsed : {value.get(), with_comments.get()}) {
    if (parsed != nullptr) {
      check_round_trips(parsed);
      check_links(parsed);
    }
  }
  return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(data, data + size);
  const std::size_t nul = input.find('\0');
  const JsonPtr left = check_document(input.substr(0, nul));
  const JsonPtr right = check_document(nul != input.npos ? input.substr(nul + 1) : input);
  require(json_value_equals(left.get(), right.get()) == json_value_equals(right.get(), left.get()));
  if (left != nullptr && right != nullptr) {
    const bool is_valid = json_validate(left.get(), right.get()) == JSONSuccess;
    require(is_valid == has_shape(left.get(), right.get()));
  }
  return 0;
}
