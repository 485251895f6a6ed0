#include "tallyra/type_definition.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>

#include "types_test_support.h"

namespace tly::test {
namespace {

TEST(BuiltinTypes, AreFoundByIdAndByExactName) {
  EXPECT_EQ(tly_builtin_type_from_name("uint64_t"), 21U);
  EXPECT_EQ(tly_builtin_type_size(22), 8U);
  EXPECT_EQ(tly_value_type_from_string("ABSOLUTE_MONOTONIC"), 3U);
  for (const char* name : {"UINT64_T", "unsigned", "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(tly_builtin_type_from_name(name), 0U);
    EXPECT_EQ(tly_value_type_from_string(name), 0xFFFFFFFF);
  }
  EXPECT_EQ(tly_builtin_type_name(23), nullptr);
  EXPECT_EQ(tly_builtin_type_size(UINT32_MAX), 0U);
  EXPECT_EQ(tly_value_type_string(UINT32_MAX), nullptr);
}

TEST(BuiltinTypes, MakeAsManyDefinitionsAsThereIsRoomFor) {
  for (const auto& [max, count] : {std::pair<uint8_t, int>{0, 0}, {5, 5}, {255, 22}}) {
    tly_type_definition_t* made[255]{};
    EXPECT_EQ(tly_builtin_type_get_type_defs(made, max), count);
    EXPECT_EQ(std::count(std::begin(made), std::end(made), nullptr), 255 - count);
    std::for_each(made, made + count, tly_destroy_type_definition);
  }
}

TEST(BuiltinTypes, ArePrintedAsATable) {
  const std::string table = printed(&tly_builtin_type_print_info);
  EXPECT_EQ(table.substr(0, 80),
            " Id Name                       Size    \n"
            "  1 bool                       1       \n");
  EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 23);
}

TEST(TypeDefinition, IsWrittenAloneInBothLayoutsAndReadBack) {
  const SchemaPtr builtin = make_builtin_schema();
  const SchemaPtr schema = make_schema(builtin);
  add_type(schema, "pair", {field("a", "char", 2)});
  const auto text_of = [&](const char* name, bool pretty) {
    return taken(tly_schema_serialize_type_definition(schema.get(), name, pretty));
  };
  const std::string compact = text_of("pair", false);
  EXPECT_EQ(compact, R"({"name":"pair","size":2,"fields":[{"field_name":"a","description":"",)"
                     R"("type_name":"char","counting_mode":"ABSOLUTE","array_length":2,"offset":0,)"
                     R"("type_size":1,"index":0}]})");
  EXPECT_EQ(text_of("pair", true).substr(0, 20), "{\n    \"name\": \"pair\"");
  EXPECT_EQ(text_of("bool", false), R"({"name":"bool","size":1,"fields":[]})");
  EXPECT_EQ(text_of("none", false), "null pointer");

  const JsonPtr value(json_parse_string(compact.c_str()));
  const Owned<tly_type_definition_t, &tly_destroy_type_definition> read(
      tly_type_definition_from_json(value.get()));
  EXPECT_EQ(serialized(tly_type_definition_jsonify(read.get())), compact);

  const tly_type_field_definition_t* array = schema->types[0]->fields[0];
  EXPECT_EQ(serialized(tly_type_field_definition_jsonify_data(array, "ab")), R"("ab")");
  EXPECT_EQ(serialized(tly_type_field_definition_jsonify_array(array, "ab")), "[97,98]");
  EXPECT_EQ(serialized(tly_type_field_definition_jsonify_scalar(array, "ab")), "97");
  EXPECT_EQ(tly_builtin_type_jsonify(23, "ab"), nullptr);
}

TEST(FieldDefinition, IsNotWrittenWithoutItsTexts) {
  const tly_type_field_info_t cases[] = {{nullptr, "d", "t", 0, 1},
                                         {"f", nullptr, "t", 0, 1},
                                         {"f", "d", nullptr, 0, 1},
                                         {"f", "d", "t", 4, 1},
                                         {"f", "\xff", "t", 0, 1}};
  for (const tly_type_field_info_t& info : cases) {
    const FieldPtr made(tly_type_field_definition_from_info(&info));
    EXPECT_EQ(tly_type_field_definition_jsonify(made.get()), nullptr);
  }
}

}  // namespace
}  // namespace tly::test
