// The worked example of the documentation.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "environment.h"
#include "tallyra/counter_data.h"
#include "types_test_support.h"

namespace tly::test {
namespace {

const std::filesystem::path kExamples = TALLYRA_EXAMPLES;

TEST(Examples, AreAsDocumented) {
  const std::string page = read_file(kExamples / "../formats.md");
  const SchemaPtr builtins = make_builtin_schema();
  const std::string path = kExamples / "disk_schema.json";
  const SchemaPtr schema(tly_schema_load_from_file(path.c_str(), builtins.get()));
  ASSERT_NE(schema, nullptr);
  EXPECT_NE(page.find(std::string(schema->id_string) + "  docs/examples/disk_schema.json"),
            std::string::npos);

  const std::string record = read_file(kExamples / "request.bin");
  const tly_type_definition_t* type = tly_schema_find_type_definition(schema.get(), "request");
  ASSERT_EQ(record.size(), type->size);
  const std::string json = serialized(tly_type_definition_jsonify_data(type, record.data()));
  EXPECT_NE(page.find("\n    " + json + "\n"), std::string::npos) << json;

  const std::string block = read_file(kExamples / "data_block.bin");
  tly_counters_data_t header;
  memcpy(&header, block.data(), sizeof header);
  EXPECT_TRUE(tly_magic_value_match_type(&header.magic, 'D'));
  EXPECT_EQ(header.timestamp, 1'700'000'000'000'000U);
  EXPECT_EQ(block.size(), sizeof header + 2 * sizeof(tly_counter_value_t));
}

}  // namespace
}  // namespace tly::test
