// The JSON layer: a tree with more members, elements and levels than fit into what is set aside in
// place, and changes to trees that pass the sizes at which they grow.
#include <cstring>
#include <string>

#include "../json/json_support.h"
#include "encoding/json_ptr.h"
#include "environment.h"
#include "scenario.h"

namespace tly::test {
namespace {

struct Document {
  Document() {
    text = repeated(R"([{"deep":)", 70) + "{";
    for (int i = 0; i < 70; ++i) {
      text += "\"n" + std::to_string(i) + R"(":"a\/b",)";
    }
    text += R"("list":[1,2],"set":[{},{}],"none":null,"yes":true})" + repeated("}]", 70);
    value.reset(json_parse_string(text.c_str()));
    path = directory.write("document", text);
  }

  std::string text, path;
  TemporaryDirectory directory;
  JsonPtr value;
};

const Document& document() {
  static const Document document;
  return document;
}

bool is_document(const JsonPtr& value) {
  return json_value_equals(value.get(), document().value.get()) == 1;
}

SCENARIO(JsonValues) {
  for (JSON_Value* (*const make)() :
       {&json_value_init_object, &json_value_init_array, &json_value_init_null,
        +[] { return json_value_init_string("text"); }, +[] { return json_value_init_number(1); },
        +[] { return json_value_init_boolean(1); }, +[] { return json_parse_string("[1,{}]"); },
        +[] { return json_parse_string("\"\\n\""); },
        +[] { return json_parse_string_with_comments("/* */ [1, {\"a\": [\"b\"]}] // end\n"); }}) {
    pass.make<&json_value_free>(make);
  }
}

SCENARIO(JsonReading) {
  const Document& whole = document();
  const JsonPtr read(pass.whole([&] { return json_parse_string(whole.text.c_str()); }));
  const JsonPtr copy(pass.whole([&] { return json_value_deep_copy(whole.value.get()); }));
  EXPECT_TRUE(!read || is_document(read));
  EXPECT_TRUE(!copy || is_document(copy));
  for (const auto parse : {&json_parse_file, &json_parse_file_with_comments}) {
    const JsonPtr of_file(pass.may([&] { return parse(whole.path.c_str()); }));
    EXPECT_TRUE(!of_file || is_document(of_file));
  }
  pass.whole([&] { return json_value_equals(whole.value.get(), whole.value.get()); });
  pass.whole([&] { return json_validate(whole.value.get(), whole.value.get()) == JSONSuccess; });
}

SCENARIO(JsonWriting) {
  const JSON_Value* const value = document().value.get();
  static const std::string path = document().path + ".written";
  const auto write = [&](auto to_string, auto size, auto to_buffer, auto to_file) {
    // Making a text smaller may fail unnoticed.
    const Owned<char, &json_free_serialized_string> text(
        pass.may([&] { return to_string(value); }));
    pass.whole([&] { return size(value); });
    pass.may([&] { return to_file(value, path.c_str()) == JSONSuccess; });
    std::string buffer(size(value), '#');
    const std::string before = buffer;
    const bool is_written =
        pass.whole([&] { return to_buffer(value, buffer.data(), buffer.size()) == JSONSuccess; });
    EXPECT_EQ(buffer == before, !is_written);
    EXPECT_TRUE(!is_written || text == nullptr || std::strcmp(text.get(), buffer.c_str()) == 0);
  };
  write(&json_serialize_to_string, &json_serialization_size, &json_serialize_to_buffer,
        &json_serialize_to_file);
  write(&json_serialize_to_string_pretty, &json_serialization_size_pretty,
        &json_serialize_to_buffer_pretty, &json_serialize_to_file_pretty);
}

// What a change works on; the value is taken over only by a change that succeeds.
struct Change {
  JSON_Array* list;
  JSON_Object* object;
  const char* name;
  JSON_Value* value;
};
constexpr JSON_Status (*kChanges[])(const Change& change) = {
    [](const Change& c) { return json_array_append_number(c.list, 1); },
    [](const Change& c) { return json_object_set_number(c.object, c.name, 1); },
    [](const Change& c) { return json_array_append_value(c.list, c.value); },
    [](const Change& c) { return json_object_set_value(c.object, c.name, c.value); },
    [](const Change& c) { return json_array_append_string(c.list, "text"); },
    [](const Change& c) { return json_object_set_string(c.object, c.name, "text"); },
    [](const Change& c) { return json_array_append_boolean(c.list, 1); },
    [](const Change& c) { return json_object_set_boolean(c.object, c.name, 1); },
    [](const Change& c) { return json_array_append_null(c.list); },
    [](const Change& c) { return json_object_set_null(c.object, c.name); },
    [](const Change& c) { return json_array_replace_number(c.list, 0, 1); },
    [](const Change& c) { return json_array_replace_string(c.list, 0, "text"); },
    [](const Change& c) { return json_array_replace_value(c.list, 0, c.value); },
    [](const Change& c) { return json_array_replace_boolean(c.list, 0, 1); },
    [](const Change& c) { return json_array_replace_null(c.list, 0); },
    [](const Change& c) { return json_object_set_string(c.object, "same", "replaced"); },
};

void change_tree(Pass& pass, const JsonPtr& tree) {
  JSON_Object* const object = json_object(tree.get());
  JSON_Array* const list = json_object_get_array(object, "list");
  std::size_t round = 0;
  for (const char* const suffix : {"a", "b", "c", "d"}) {
    for (const auto change : kChanges) {
      const std::string name = suffix + std::to_string(round++);
      JsonPtr value(json_value_init_null());
      const std::string before = compact(tree.get());
      const bool is_changed = pass.whole([&] {
        return change({list, object, name.c_str(), value.get()}) == JSONSuccess;
      });
      if (json_value_get_parent(value.get()) != nullptr) {
        EXPECT_TRUE(is_changed);
        static_cast<void>(value.release());
      }
      if (!is_changed) {
        EXPECT_EQ(compact(tree.get()), before);
      }
    }
  }
}

SCENARIO(JsonChanges) {
  change_tree(pass, JsonPtr(json_parse_string(R"({"list":[1],"same":[2]})")));
  const JsonPtr built(json_value_init_object());
  json_object_set_value(json_object(built.get()), "list", json_parse_string("[1]"));
  change_tree(pass, built);
}

}  // namespace
}  // namespace tly::test
