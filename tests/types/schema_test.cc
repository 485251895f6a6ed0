#include "tallyra/schema.h"

#include <gmock/gmock.h>

#include <sstream>

#include "environment.h"
#include "log_capture.h"
#include "types_test_support.h"

namespace tly::test {
namespace {

using testing::ElementsAre;

const std::string kExample = TALLYRA_EXAMPLES "/disk_schema.json";
const std::string kExampleId = "90b0913b333f887eed0aa5021c491707";  // from md5sum(1)

SchemaPtr load(const std::string& path, const SchemaPtr& parent) {
  return SchemaPtr(tly_schema_load_from_file(path.c_str(), parent.get()));
}

SchemaPtr decode(const std::string& text) {
  return SchemaPtr(tly_schema_from_json(JsonPtr(json_parse_string(text.c_str())).get()));
}

std::string text_of(const SchemaPtr& schema) {
  return serialized(tly_schema_jsonify(schema.get()));
}

std::string id_of(const SchemaPtr& schema) {
  tly_schema_id_t id{};
  return tly_schema_extract_id(schema.get(), &id) ? OwnedString(tly_schema_id_string(&id)).get()
                                                  : "none";
}

TEST(Schema, TextAndIdAreFixed) {
  const SchemaPtr builtin = make_builtin_schema();
  const SchemaPtr built = make_schema(builtin, "disk");
  EXPECT_EQ(text_of(built), "null pointer");
  EXPECT_EQ(id_of(built), "none");
  add_type(built, "span",
           {{"first", "first sector", "uint32_t", TLY_VALUE_TYPE_ABSOLUTE, 1},
            {"count", "sectors", "uint32_t", TLY_VALUE_TYPE_ABSOLUTE, 1}});
  add_type(built, "request",
           {{"when", "microseconds", "timestamp", TLY_VALUE_TYPE_ABSOLUTE_MONOTONIC, 1},
            {"device", "name", "char", TLY_VALUE_TYPE_ABSOLUTE, 8},
            {"spans", "what it covers", "span", TLY_VALUE_TYPE_ABSOLUTE, 2},
            {"write", "1 for a write", "bool", TLY_VALUE_TYPE_ABSOLUTE, 1}});
  const SchemaPtr loaded = load(kExample, builtin);
  EXPECT_EQ(loaded->id_string, kExampleId);
  for (const SchemaPtr* schema : {&built, &loaded}) {
    EXPECT_EQ(serialized(tly_schema_jsonify(schema->get()), true), read_file(kExample));
    EXPECT_EQ(id_of(*schema), kExampleId);
    EXPECT_EQ((*schema)->types[1]->fields[2]->type_reference, (*schema)->types[0]);
  }
}

TEST(Schema, AddsTypesOrLogsWhyNot) {
  const SchemaPtr builtin = make_builtin_schema();
  const SchemaPtr schema = make_schema(builtin);
  builtin->types[20]->size = UINT64_MAX / 2;  // "uint64_t", as a hostile document could have it
  const auto a = field("a", "int");
  const auto refuses = [&](const char* name, const Fields& fields, int status,
                           const char* message) {
    const LogCapture log(3);
    EXPECT_EQ(add_type(schema, name, fields), status);
    EXPECT_THAT(log.texts(3), ElementsAre(message));
    EXPECT_EQ(schema->num_types, 0);
  };
  refuses("int", {field("a", "no")}, 2, "Schema 'p' already contains type 'int'");
  refuses("t", {a, field("b", "t"), a}, 3,
          "Unable to register type 't': type 't' of the field 'b' is undefined");
  refuses("t", {a, field("b", "int"), a}, 2,
          "[tly_schema_add_type] Failed to register new type 't': field name 'a' occurs more than "
          "once.");
  refuses("t", {a, field("b", "uint64_t", 2)}, 1,
          "[tly_schema_add_type] cannot get type definition from fields_info[1]");
  refuses(nullptr, {}, 1, "[tly_schema_add_type] cannot allocate type definition");
}

TEST(Schema, HoldsAsManyTypesAndFieldsAsItCanCount) {
  const LogCapture log(3);
  const SchemaPtr builtin = make_builtin_schema();
  const SchemaPtr schema = make_schema(builtin);
  std::vector<std::string> names(65536);
  Fields fields(names.size());
  for (std::size_t position = 0; position < names.size(); ++position) {
    names[position] = std::to_string(position);
    fields[position] = field(names[position].c_str(), "short");
  }
  EXPECT_EQ(add_type(schema, "t", fields), 1);
  fields.pop_back();
  for (std::size_t position = 0; position < TLY_MAX_TYPES; ++position) {
    uint8_t index = 0;
    EXPECT_EQ(add_type(schema, names[position].c_str(), fields, &index), 0);
    EXPECT_EQ(index, position);
    fields.resize(1);
  }
  EXPECT_EQ(tly_schema_sizeof_type(schema.get(), "0"), 131070U);
  EXPECT_EQ(add_type(schema, "t", {}), 5);
  JSON_Value* const value = tly_schema_jsonify(schema.get());
  json_array_append_null(json_object_get_array(json_value_get_object(value), "types"));
  EXPECT_EQ(decode(serialized(value)), nullptr);
  EXPECT_THAT(
      log.texts(3),
      ElementsAre("[tly_schema_add_type] cannot allocate fields for type definition",
                  "[tly_schema_add_type] Unable to add new type, reached TLY_MAX_TYPES. "
                  "schema->num_types = 254",
                  "Failed to deserialize schema 'p': number of types 255 exceeds limit 254"));
  EXPECT_NE(decode(text_of(schema)), nullptr);
}

TEST(Schema, NumbersTheFieldsItFinds) {
  const SchemaPtr builtin = make_builtin_schema();
  const SchemaPtr schema = make_schema(builtin);
  add_type(schema, "t", {field("a", "int"), field("b", "int")});
  // Status, field indexes and message of numbering the fields of a type.
  const auto numbered = [&](tly_schema_t* target, uint8_t type,
                            const std::vector<const char*>& names) {
    const LogCapture log;
    const int status = tly_schema_set_field_indexes(target, type, names.data(), names.size());
    std::string result = std::to_string(status);
    for (const int position : {0, 1}) {
      result += " " + std::to_string(schema->types[0]->fields[position]->index);
    }
    return result + (log.lines().empty() ? "" : " " + log.texts(3).at(0));
  };
  const std::string prefix = "3 2 1 [tly_schema_set_field_indexes] ";
  EXPECT_EQ(numbered(schema.get(), 0, {"b", "a"}), "0 2 1");
  EXPECT_EQ(numbered(nullptr, 0, {"a"}), prefix + "Schema pointer is NULL!");
  EXPECT_EQ(numbered(schema.get(), 1, {}), prefix + "Index names array is NULL!");
  EXPECT_EQ(numbered(schema.get(), 1, {"a"}),
            prefix + "Invalid type_index: 1 (out of range, max: 0)");
  EXPECT_EQ(numbered(schema.get(), 0, {"a", "zz"}),
            "3 1 0 Mismatch in assigned indices: expected 2, but assigned 1.");
  EXPECT_EQ(numbered(schema.get(), 0, {"b", "b", nullptr}),
            "3 0 2 Mismatch in assigned indices: expected 3, but assigned 2.");
}

// Each document of the file is followed by what reading it logs and, when it was read, by what is
// written then.
TEST(Schema, DocumentsAreTakenWholeOrRefused) {
  const std::string expected = read_file(DOCUMENTS);
  std::istringstream lines(expected);
  std::string outcomes;
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(' ')) {
      const LogCapture log(6);
      const SchemaPtr schema = decode(line);
      outcomes += line + "\n";
      for (const auto& [level, message] : log.lines()) {
        outcomes += "  " + std::to_string(level) + " " + message + "\n";
      }
      outcomes += schema == nullptr ? "" : "  " + text_of(schema) + "\n";
    }
  }
  EXPECT_EQ(outcomes, expected);
}

TEST(Schema, LoadsFilesWhoseReferencesResolve) {
  const LogCapture log(3);
  const TemporaryDirectory directory;
  EXPECT_EQ(load("/nowhere", nullptr), nullptr);
  EXPECT_EQ(load(kExample, nullptr), nullptr);
  EXPECT_THAT(log.texts(3),
              ElementsAre("Failed reading schema JSON from file '/nowhere'",
                          "Definition of type uint32_t not found within the schema disk"));
  const auto path = directory.write(
      "s", R"({"tly_version":"1.5","provider_name":"p","provider_version":"","types":[]})");
  EXPECT_EQ(load(path, nullptr)->id_string, std::string(32, '0'));
}

TEST(SchemaId, TextsAreReadStrictly) {
  const std::string digits = "00112233445566778899AAbbCCddEEff";
  tly_schema_id_t id{};
  char text[TLY_SCHEMA_ID_STRING_SIZE];
  EXPECT_TRUE(tly_schema_from_id_string(digits.c_str(), &id));
  tly_schema_id_to_schema_string(&id, text);
  EXPECT_STREQ(text, "00112233445566778899aabbccddeeff");
  for (const std::string& broken :
       {digits.substr(1), "0x" + digits, " 1" + digits, "-1" + digits, std::string()}) {
    const OwnedString exact(strdup(broken.c_str()));
    EXPECT_FALSE(tly_schema_from_id_string(exact.get(), &id)) << broken;
  }
  const tly_schema_id_t read = id;
  tly_schema_id_set_blob(&id);
  EXPECT_NE(tly_compare_schema_id(&id, &read), 0);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(id.bytes), 16), "BLOB_DATA_SCHEMA");
  EXPECT_TRUE(tly_schema_from_id_string(nullptr, &id) && tly_schema_id_is_blob(&id));
  EXPECT_TRUE(tly_schema_from_id_string(std::string(32, '0').c_str(), &id));
  EXPECT_TRUE(tly_schema_id_is_unset(&id) && !tly_schema_id_is_blob(&id));
}

}  // namespace
}  // namespace tly::test
