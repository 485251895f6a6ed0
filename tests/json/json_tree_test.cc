#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

#include "json_support.h"

namespace {

TEST(JsonTree, GettersGiveDefaultsForWhatIsMissingOrOfAnotherType) {
  const OwnedValue value = parsed(R"({"n":2.5,"s":"x","t":true,"f":false,"o":{},"a":[],"z":null})");
  const JSON_Object* object = json_object(value.get());
  const struct {
    const char* name;
    double number;
    JSON_Value_Type type;
    int boolean;
  } cases[] = {{"n", 2.5, JSONNumber, -1}, {"s", 0, JSONString, -1},     {"t", 0, JSONBoolean, 1},
               {"f", 0, JSONBoolean, 0},   {"o", 0, JSONObject, -1},     {"a", 0, JSONArray, -1},
               {"z", 0, JSONNull, -1},     {"missing", 0, JSONError, -1}};
  const OwnedValue list(json_value_init_array());
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const auto& [name, number, type, boolean] = cases[i];
    SCOPED_TRACE(name);
    const JSON_Value* member = json_object_get_value(object, name);
    EXPECT_EQ(member, json_object_get_value_at(object, i));
    EXPECT_EQ(json_type(member), type);
    EXPECT_EQ(json_object_get_number(object, name), number);
    EXPECT_EQ(json_object_get_boolean(object, name), boolean);
    EXPECT_EQ(json_object_get_string(object, name) != nullptr, type == JSONString);
    EXPECT_EQ(json_object_get_object(object, name) != nullptr, type == JSONObject);
    EXPECT_EQ(json_object_get_array(object, name) != nullptr, type == JSONArray);
    EXPECT_EQ(json_object_has_value(object, name), type == JSONError ? 0 : 1);
    EXPECT_EQ(json_object_has_value_of_type(object, name, type), type == JSONError ? 0 : 1);
    EXPECT_EQ(json_object_has_value_of_type(object, name, JSONError), 0);
    if (member == nullptr) continue;
    EXPECT_EQ(json_value_get_parent(member), value.get());
    JSON_Array* array = json_array(list.get());
    ASSERT_EQ(json_array_append_value(array, json_value_deep_copy(member)), JSONSuccess);
    EXPECT_EQ(json_array_get_number(array, i), number);
    EXPECT_EQ(json_array_get_boolean(array, i), boolean);
    EXPECT_EQ(json_array_get_string(array, i) != nullptr, type == JSONString);
    EXPECT_EQ(json_array_get_object(array, i) != nullptr, type == JSONObject);
    EXPECT_EQ(json_array_get_array(array, i) != nullptr, type == JSONArray);
  }
  EXPECT_EQ(json_array_get_value(json_array(list.get()), 7), nullptr);
  EXPECT_EQ(json_object_get_name(object, 7), nullptr);
  EXPECT_STREQ(json_object_get_name(object, 6), "z");
  EXPECT_EQ(json_object_get_wrapping_value(object), value.get());
  EXPECT_EQ(json_array_get_wrapping_value(json_array(list.get())), list.get());
}

// The same changes to a parsed object, whose first members share one block, and to one that grew.
TEST(JsonTree, MembersAreReplacedInPlaceAndRemovedInOrder) {
  const OwnedValue in_block = parsed(R"({"a":1,"b":"text","c":{"d":[1,2]},"e":null})");
  const OwnedValue grown(json_value_init_object());
  JSON_Object* object = json_object(grown.get());
  json_object_set_number(object, "a", 1);
  json_object_set_string(object, "b", "text");
  json_object_set_value(object, "c", json_parse_string(R"({"d":[1,2]})"));
  json_object_set_null(object, "e");
  for (JSON_Value* value : {in_block.get(), grown.get()}) {
    object = json_object(value);
    EXPECT_EQ(compact(value), R"({"a":1,"b":"text","c":{"d":[1,2]},"e":null})");
    const char* name = json_object_get_name(object, 2);
    EXPECT_EQ(json_object_set_boolean(object, name, 2), JSONSuccess);
    EXPECT_STREQ(name, "c");
    EXPECT_EQ(json_object_set_string(object, "b", json_object_get_string(object, "b")),
              JSONSuccess);
    EXPECT_EQ(json_object_set_number(object, "new", 7), JSONSuccess);
    EXPECT_EQ(json_object_set_string(object, "a", "\xC0\x80"), JSONFailure);
    EXPECT_EQ(json_object_set_null(object, nullptr), JSONFailure);
    EXPECT_EQ(json_object_set_value(object, "a", nullptr), JSONFailure);
    EXPECT_EQ(json_object_get_value(object, nullptr), nullptr);
    EXPECT_EQ(compact(value), R"({"a":1,"b":"text","c":true,"e":null,"new":7})");
    EXPECT_EQ(json_object_remove(object, "b"), JSONSuccess);
    EXPECT_EQ(json_object_remove(object, "b"), JSONFailure);
    json_value_free(json_object_get_value(object, "e"));
    EXPECT_EQ(compact(value), R"({"a":1,"c":true,"new":7})");
    EXPECT_EQ(json_object_clear(object), JSONSuccess);
    EXPECT_EQ(json_object_set_number(object, "c", 1), JSONSuccess);
    EXPECT_EQ(compact(value), R"({"c":1})");
  }
}

TEST(JsonTree, ElementsAreAppendedReplacedAndRemoved) {
  const OwnedValue in_block = parsed(R"([1,"two",[3],{"four":4}])");
  const OwnedValue grown(json_value_init_array());
  for (const char* element : {"1", "\"two\"", "[3]", "{\"four\":4}"}) {
    json_array_append_value(json_array(grown.get()), json_parse_string(element));
  }
  for (JSON_Value* value : {in_block.get(), grown.get()}) {
    JSON_Array* array = json_array(value);
    EXPECT_EQ(json_array_append_string(array, "five"), JSONSuccess);
    EXPECT_EQ(json_array_append_string(array, "\xED\xA0\x80"), JSONFailure);
    EXPECT_EQ(json_array_append_boolean(array, 0), JSONSuccess);
    EXPECT_EQ(json_array_append_null(array), JSONSuccess);
    EXPECT_EQ(json_array_replace_number(array, 0, 1.5), JSONSuccess);
    EXPECT_EQ(json_array_replace_null(array, 2), JSONSuccess);
    EXPECT_EQ(json_array_replace_boolean(array, 3, 1), JSONSuccess);
    EXPECT_EQ(json_array_replace_string(array, 7, "beyond"), JSONFailure);
    EXPECT_EQ(json_array_replace_string(array, 1, nullptr), JSONFailure);
    EXPECT_EQ(compact(value), R"([1.5,"two",null,true,"five",false,null])");
    EXPECT_EQ(json_array_remove(array, 1), JSONSuccess);
    EXPECT_EQ(json_array_remove(array, 6), JSONFailure);
    json_value_free(json_array_get_value(array, 0));
    EXPECT_EQ(compact(value), R"([null,true,"five",false,null])");
    EXPECT_EQ(json_array_clear(array), JSONSuccess);
    EXPECT_EQ(json_array_append_number(array, 1), JSONSuccess);
    EXPECT_EQ(compact(value), "[1]");
  }
}

TEST(JsonTree, AValueHasOneParentAndIsNotItsOwn) {
  OwnedValue root = parsed(R"({"list":[{"inner":[1]}],"other":[]})");
  JSON_Object* object = json_object(root.get());
  JSON_Array* list = json_object_get_array(object, "list");
  JSON_Value* inner = json_array_get_value(list, 0);
  const std::string before = compact(root.get());
  EXPECT_EQ(json_array_append_value(json_object_get_array(object, "other"), inner), JSONFailure);
  EXPECT_EQ(json_object_set_value(object, "list", inner), JSONFailure);
  EXPECT_EQ(json_array_append_value(list, root.get()), JSONFailure);
  EXPECT_EQ(json_array_replace_value(list, 0, root.get()), JSONFailure);
  EXPECT_EQ(json_object_set_value(object, "self", root.get()), JSONFailure);
  EXPECT_EQ(compact(root.get()), before);
  const OwnedValue outer(json_value_init_array());
  EXPECT_EQ(json_array_append_value(json_array(outer.get()), root.get()), JSONSuccess);
  EXPECT_EQ(json_value_get_parent(root.release()), outer.get());
  EXPECT_EQ(json_value_get_parent(json_array_get_wrapping_value(list)),
            json_object_get_wrapping_value(object));
}

// Against a plain list of pairs, with names that fall in and out of the index.
TEST(JsonTree, LargeObjectsStayInStepWithAModel) {
  std::mt19937 random(7);
  std::string text = "{";
  std::vector<std::pair<std::string, double>> model;
  for (int i = 0; i < 40; ++i) {
    model.emplace_back("name" + std::to_string(i * 37), i);
    text += "\"" + model.back().first + "\":" + std::to_string(i) + ",";
  }
  const OwnedValue value = parsed(text + "}");
  JSON_Object* object = json_object(value.get());
  for (int step = 0; step < 20000; ++step) {
    const std::string name = "name" + std::to_string(random() % 1500);
    const auto known = std::find_if(model.begin(), model.end(),
                                    [&](const auto& pair) { return pair.first == name; });
    const double number = json_object_get_number(object, name.c_str());
    ASSERT_EQ(number, known == model.end() ? 0 : known->second);
    if (random() % (step % 2000 < 1000 ? 4 : 2) == 0) {
      const JSON_Status status = json_object_remove(object, name.c_str());
      ASSERT_EQ(status, known == model.end() ? JSONFailure : JSONSuccess);
      if (known != model.end()) model.erase(known);
    } else {
      ASSERT_EQ(json_object_set_number(object, name.c_str(), step), JSONSuccess);
      if (known == model.end()) {
        model.emplace_back(name, step);
      } else {
        known->second = step;
      }
    }
  }
  ASSERT_EQ(json_object_get_count(object), model.size());
  for (std::size_t i = 0; i < model.size(); ++i) {
    ASSERT_EQ(json_object_get_name(object, i), model[i].first);
    ASSERT_EQ(json_number(json_object_get_value_at(object, i)), model[i].second);
  }
}

TEST(JsonTree, StringsMustBeUtf8) {
  for (const char* text :
       {"", "plain text of some length", "eight ch\xC3\xA9 and on", "\x7F\xC2\x80\xDF\xBF",
        "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"}) {
    EXPECT_NE(OwnedValue(json_value_init_string(text)), nullptr) << text;
  }
  for (const char* text :
       {"eight ch\xC3 and on", "\x80", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2\x41", "\xE0\x9F\xBF",
        "\xED\xA0\x80", "\xED\xBF\xBF", "\xE2\x82", "\xE2\x82\xC0", "\xF0\x8F\xBF\xBF",
        "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xF1\x80\x80", "\xFF"}) {
    EXPECT_EQ(json_value_init_string(text), nullptr) << text;
  }
}

TEST(JsonTree, CopiesAreEqualAndIndependent) {
  const char* const texts[] = {
      "1",
      "-0.5",
      "\"a\\u0000b\"",
      "true",
      "null",
      "{}",
      "[]",
      R"({"a":[1,{"b":"long enough not to be short"},[],{}],"":false})",
      R"({"1":1,"2":2,"3":3,"4":4,"5":5,"6":6,"7":7,"8":8,"9":9,"10":10})"};
  for (const char* text : texts) {
    OwnedValue original = parsed(text);
    const OwnedValue copy(json_value_deep_copy(original.get()));
    EXPECT_EQ(json_value_equals(original.get(), copy.get()), 1) << text;
    original.reset();
    EXPECT_EQ(compact(copy.get()), reprinted(text));
    for (const char* other : texts) {
      EXPECT_EQ(json_value_equals(copy.get(), parsed(other).get()), other == text ? 1 : 0);
    }
  }
  const OwnedValue tree = parsed(R"({"a":{"b":[1,2]}})");
  const OwnedValue branch(
      json_value_deep_copy(json_object_get_value(json_object(tree.get()), "a")));
  EXPECT_EQ(json_value_get_parent(branch.get()), nullptr);
  EXPECT_EQ(compact(branch.get()), R"({"b":[1,2]})");
}

TEST(JsonTree, EqualityLooksAtContentsNotAtTheOrderOfMembers) {
  const struct {
    const char* left;
    const char* right;
    int are_equal;
  } cases[] = {{R"({"a":1,"b":2})", R"({"b":2,"a":1})", 1},
               {R"({"a":1,"b":2})", R"({"a":1,"c":2})", 0},
               {R"({"a":1})", R"({"a":1,"b":2})", 0},
               {"[1,2]", "[2,1]", 0},
               {"[1]", "[1,1]", 0},
               {"0", "-0", 1},
               {"1", "1.0000001", 0},
               {"true", "false", 0},
               {R"("a\u0000b")", R"("a\u0000c")", 0},
               {"{}", "[]", 0}};
  for (const auto& [left, right, are_equal] : cases) {
    EXPECT_EQ(json_value_equals(parsed(left).get(), parsed(right).get()), are_equal) << left;
    EXPECT_EQ(json_value_equals(parsed(right).get(), parsed(left).get()), are_equal) << left;
  }
  EXPECT_EQ(json_value_equals(parsed("null").get(), nullptr), 0);
}

TEST(JsonTree, ValidationComparesShapes) {
  using Pairs = std::vector<std::pair<const char*, const char*>>;
  const Pairs fitting = {{"null", "{}"},
                         {"null", "1"},
                         {"1", "2.5"},
                         {"\"\"", "\"x\""},
                         {"true", "false"},
                         {"{}", R"({"a":1})"},
                         {"[]", "[1,\"x\"]"},
                         {"[1]", "[]"},
                         {"[1]", "[1,2,3]"},
                         {"[1,\"x\"]", "[1,2]"},
                         {R"({"a":1,"b":""})", R"({"c":[],"b":"x","a":2})"},
                         {R"({"a":[{"b":0}]})", R"({"a":[{"b":1},{"b":2,"c":3}]})"}};
  const Pairs others = {{"1", "\"1\""},
                        {"true", "null"},
                        {"{}", "[]"},
                        {"[1]", "[1,\"x\"]"},
                        {R"({"a":1,"b":""})", R"({"a":2,"c":"x"})"},
                        {R"({"a":1,"b":""})", R"({"a":2})"},
                        {R"({"a":null})", R"({"b":1})"},
                        {R"({"a":[{"b":0}]})", R"({"a":[{"b":1},{"b":"2"}]})"}};
  for (const Pairs* pairs : {&fitting, &others}) {
    for (const auto& [schema, value] : *pairs) {
      EXPECT_EQ(json_validate(parsed(schema).get(), parsed(value).get()),
                pairs == &fitting ? JSONSuccess : JSONFailure)
          << schema << " " << value;
    }
  }
  EXPECT_EQ(json_validate(nullptr, parsed("1").get()), JSONFailure);
  EXPECT_EQ(json_validate(parsed("null").get(), nullptr), JSONFailure);
}

}  // namespace
