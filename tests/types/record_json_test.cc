#include <gmock/gmock.h>

#include <cmath>

#include "log_capture.h"
#include "types_test_support.h"

namespace tly::test {
namespace {

// The bytes of the values, one after another.
template <typename... Values>
std::string bytes_of(Values... values) {
  std::string bytes;
  (bytes.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
  return bytes;
}

// A record of the last type, which starts at an odd address.
std::string converted(const SchemaPtr& schema, const std::string& record) {
  alignas(8) char memory[256];
  record.copy(memory + 1, record.size());
  return serialized(
      tly_type_definition_jsonify_data(schema->types[schema->num_types - 1], memory + 1));
}

TEST(RecordJson, ReadsEveryBuiltinTypeAtAnyAddress) {
  const SchemaPtr builtin = make_builtin_schema();
  const SchemaPtr schema = make_schema(builtin);
  Fields fields;
  for (uint32_t id = 1; id <= 22; ++id) {
    fields.push_back(field(tly_builtin_type_name(id), tly_builtin_type_name(id)));
  }
  add_type(schema, "all", fields);
  const std::string ones(tly_schema_sizeof_type(schema.get(), "all"), '\xff');
  EXPECT_EQ(converted(schema, ones), "null pointer");
  std::string record = ones;
  const std::string reals = bytes_of(-0.5F, 1e300);
  record.replace(schema->types[0]->fields[11]->offset, reals.size(), reals);
  EXPECT_EQ(converted(schema, record),
            R"({"bool":255,"char":255,"short":-1,"int":-1,"long":-1,"long long":-1,)"
            R"("unsigned char":255,"unsigned short":65535,"unsigned int":4294967295,)"
            R"("unsigned long":1.8446744073709552e+19,)"
            R"("unsigned long long":1.8446744073709552e+19,"float":-0.5,)"
            R"("double":1.0000000000000001e+300,"int8_t":-1,"int16_t":-1,"int32_t":-1,)"
            R"("int64_t":-1,"uint8_t":255,"uint16_t":65535,"uint32_t":4294967295,)"
            R"("uint64_t":1.8446744073709552e+19,"timestamp":1.8446744073709552e+19})");
}

TEST(RecordJson, ConvertsArraysTextsAndNestedRecords) {
  const SchemaPtr builtin = make_builtin_schema();
  const SchemaPtr schema = make_schema(builtin);
  const auto text = bytes_of('a', 'b', 'c', '\0', '!', '\xe9');
  struct {
    Fields fields;
    std::string record, json;
  } const cases[] = {
      {{field("t", "char", 6)}, text, R"({"t":"abc"})"},
      {{field("t", "unsigned char", 2), field("n", "char", 0)}, text, R"({"t":"ab","n":""})"},
      {{field("t", "uint8_t", 6)}, text, R"({"t":[97,98,99,0,33,233]})"},
      {{field("n", "int", 0), field("t", "char")}, text, R"({"n":[],"t":97})"},
      {{field("a", "int16_t", 2)}, bytes_of<int16_t, int16_t>(-2, 7), R"({"a":[-2,7]})"},
      {{field("p", "case 4", 2), field("c", "bool")},
       bytes_of<int16_t, int16_t, int16_t, int16_t, char>(1, 2, 3, 4, 1),
       R"({"p":[{"a":[1,2]},{"a":[3,4]}],"c":1})"},
      {{field("e", "float", 2)}, bytes_of(1.0F, std::nanf("")), "null pointer"},
      {{field("e", "double")}, bytes_of(HUGE_VAL), "null pointer"},
      {{}, "", "{}"},
  };
  for (const auto& [fields, record, json] : cases) {
    const std::string name = "case " + std::to_string(schema->num_types);
    ASSERT_EQ(add_type(schema, name.c_str(), fields), 0);
    EXPECT_EQ(converted(schema, record), json);
  }
}

TEST(RecordJson, TypesThatContainThemselvesHaveNoConversion) {
  const SchemaPtr builtin = make_builtin_schema();
  const SchemaPtr schema = make_schema(builtin);
  add_type(schema, "inner", {field("x", "char")});
  add_type(schema, "outer", {field("x", "inner")});
  tly_type_field_definition_t* const leading_back = schema->types[0]->fields[0];
  for (const tly_type_definition_t* inner : {schema->types[0], schema->types[1]}) {
    leading_back->type_reference = inner;
    leading_back->array_length = 1;
    EXPECT_EQ(converted(schema, "12345678"), "null pointer");
    leading_back->array_length = 0;
    EXPECT_EQ(converted(schema, "12345678"), R"({"x":{"x":[]}})");
  }
  leading_back->type_reference = nullptr;
  leading_back->array_length = 1;
  EXPECT_EQ(converted(schema, "12345678"), "null pointer");
}

}  // namespace
}  // namespace tly::test
