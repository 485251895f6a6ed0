#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <map>

#include "environment.h"
#include "json_support.h"

namespace {

constexpr char kDocument[] =
    R"({"a":{},"b":[],"c":{"d":[1,[2,{}],"x"],"e":null},"":true,"q\"/":-1.5})";

constexpr char kPretty[] = R"({
    "a": {},
    "b": [],
    "c": {
        "d": [
            1,
            [
                2,
                {}
            ],
            "x"
        ],
        "e": null
    },
    "": true,
    "q\"\/": -1.5
})";

// A document of several megabytes: longer than any room that is set aside at once.
OwnedValue large_document() {
  OwnedValue value(json_value_init_array());
  const std::string slashes = std::string(5000, '/') + std::string(5000, 'x');
  for (int i = 0; i < 300; ++i) {
    json_array_append_string(json_array(value.get()),
                             slashes.substr(static_cast<std::size_t>(i)).c_str());
    json_array_append_number(json_array(value.get()), i / 7.0);
  }
  return value;
}

TEST(JsonWrite, PrettyFormIndentsByFourBlanks) {
  const OwnedValue value = parsed(kDocument);
  EXPECT_EQ(take_text(json_serialize_to_string_pretty(value.get())), kPretty);
  for (const char* flat : {"{}", "[]", "1", "\"x\"", "true", "false", "null"}) {
    EXPECT_EQ(take_text(json_serialize_to_string_pretty(parsed(flat).get())), flat);
  }
}

TEST(JsonWrite, EveryByteOfAStringIsEscapedOrKept) {
  const std::map<int, std::string> short_forms = {{'\b', "\\b"},  {'\t', "\\t"}, {'\n', "\\n"},
                                                  {'\f', "\\f"},  {'\r', "\\r"}, {'"', "\\\""},
                                                  {'\\', "\\\\"}, {'/', "\\/"}};
  for (int byte = 1; byte < 0x80; ++byte) {
    std::array<char, 16> escaped = {};
    std::snprintf(escaped.data(), escaped.size(), "\\u%04x", static_cast<unsigned>(byte));
    std::string expected = byte < 0x20 ? escaped.data() : std::string(1, static_cast<char>(byte));
    if (short_forms.contains(byte)) expected = short_forms.at(byte);
    for (const std::size_t position : {0U, 7U, 13U}) {
      std::string text(20, '-');
      text[position] = static_cast<char>(byte);
      const OwnedValue value(json_value_init_string(text.c_str()));
      const std::string quoted = "\"" + text.replace(position, 1, expected) + "\"";
      ASSERT_EQ(compact(value.get()), quoted);
      ASSERT_TRUE(json_value_equals(parsed(quoted).get(), value.get())) << quoted;
    }
  }
}

TEST(JsonWrite, SizeBufferStringAndFileAgree) {
  const tly::test::TemporaryDirectory directory;
  const std::string path = directory.path() / "document";
  const OwnedValue values[] = {parsed(kDocument), large_document()};
  for (const OwnedValue& owned : values) {
    const JSON_Value* value = owned.get();
    const std::string expected[] = {compact(value),
                                    take_text(json_serialize_to_string_pretty(value))};
    EXPECT_TRUE(reprinted(expected[1]) == expected[0]);
    for (const bool is_pretty : {false, true}) {
      const std::string& text = expected[is_pretty ? 1 : 0];
      const auto size = is_pretty ? json_serialization_size_pretty : json_serialization_size;
      const auto to_buffer = is_pretty ? json_serialize_to_buffer_pretty : json_serialize_to_buffer;
      const auto to_file = is_pretty ? json_serialize_to_file_pretty : json_serialize_to_file;
      ASSERT_EQ(size(value), text.size() + 1);
      std::string buffer(text.size() + 1, '#');
      EXPECT_EQ(to_buffer(value, buffer.data(), text.size()), JSONFailure);
      EXPECT_TRUE(buffer == std::string(text.size() + 1, '#'));
      EXPECT_EQ(to_buffer(value, buffer.data(), buffer.size()), JSONSuccess);
      EXPECT_TRUE(buffer == text + '\0');
      EXPECT_EQ(to_file(value, path.c_str()), JSONSuccess);
      EXPECT_TRUE(tly::test::read_file(path) == text);
    }
  }
}

TEST(JsonWrite, FailsWithoutAValueOrAPlace) {
  const OwnedValue value = large_document();
  char buffer[8] = "";
  EXPECT_EQ(json_serialize_to_buffer(nullptr, buffer, sizeof(buffer)), JSONFailure);
  EXPECT_EQ(json_serialize_to_buffer(value.get(), nullptr, 0), JSONFailure);
  EXPECT_EQ(json_serialize_to_file(value.get(), nullptr), JSONFailure);
  EXPECT_EQ(json_serialize_to_file(value.get(), "/nowhere/at/all"), JSONFailure);
  EXPECT_EQ(json_serialize_to_file(value.get(), "/dev/full"), JSONFailure);
  const tly::test::TemporaryDirectory directory;
  const std::string path = directory.path() / "document";
  EXPECT_EQ(json_serialize_to_file_pretty(nullptr, path.c_str()), JSONFailure);
  EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
