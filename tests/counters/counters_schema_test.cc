#include "tallyra/counters_schema.h"

#include <gmock/gmock.h>

#include "counters_test_support.h"
#include "environment.h"
#include "log_capture.h"

namespace tly::test {
namespace {

using testing::ElementsAre;

// A number, a text and a number in two groups, not laid out yet.
CountersSchemaPtr make_schema(uint32_t text_length) {
  CountersSchemaPtr schema(tly_create_counters_schema());
  GroupPtr group = make_group({make_counter("a", 1, 99), make_counter("t", 5, 99, text_length)});
  tly_counters_schema_append_group(schema.get(), group.release());
  group = make_group({make_counter("b", 2, 99)});
  tly_counters_schema_append_group(schema.get(), group.release());
  return schema;
}

TEST(CountersSchema, LaysOutCountsAndFindsItsCounters) {
  const LogCapture log(3);
  const CountersSchemaPtr schema = make_schema(0);
  tly_counters_schema_update_counter_offsets(schema.get());
  const auto find = [&](const char* name) {
    return tly_counters_schema_get_counter_by_name(schema.get(), name);
  };
  EXPECT_THAT((std::array{find("a")->offset, find("t")->offset, find("b")->offset}),
              ElementsAre(0, 99, 99));
  find("t")->length = ~0U;
  find("b")->length = 4;
  tly_counters_schema_update_counter_offsets(schema.get());
  EXPECT_EQ(find("b")->offset, 7U);
  EXPECT_EQ(tly_counters_schema_size_of_counters(schema.get()), 0x10000000FU);
  EXPECT_EQ(tly_counters_schema_number_of_counters(schema.get()), 3U);
  schema->groups[0]->num_counter_sets = 0x80000001;
  EXPECT_EQ(tly_counters_schema_total_number_of_counters(schema.get()), 3U);
  EXPECT_EQ(tly_counters_schema_number_of_counters(schema.get()), 0U);
  EXPECT_THAT(log.texts(3), ElementsAre("[tly_counters_schema_update_counter_offsets] Fail: "
                                        "received 0 length string counter t",
                                        "[tly_counters_schema_number_of_counters] "
                                        "num_counter_sets should be 1, not -2147483647"));
  find("b")->name[0] = 'a';
  EXPECT_EQ(find("a")->offset, 0U);
  EXPECT_EQ(find("b"), nullptr);
}

TEST(CountersSchema, LoadsTheFileNamedByItsId) {
  const LogCapture log;
  const TemporaryDirectory directory;
  tly_schema_id_t id{};
  const auto load = [&id, &directory] {
    return CountersSchemaPtr(tly_counters_load_schema_from_dir(&id, directory.path().c_str()));
  };
  EXPECT_EQ(load(), nullptr);
  id.bytes[15] = 0xAB;
  const std::string name = "schema_000000000000000000000000000000ab.json";
  const std::string path = directory.path() / name;
  EXPECT_EQ(load(), nullptr);
  directory.write(name, "// no comments\n{}");
  errno = EACCES;
  EXPECT_EQ(tly_counters_schema_load(path.c_str()), nullptr);
  const std::string failed = "Failed reading counters schema JSON from file '" + path + "': ";
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine{7, "opening counters schema: " + path + "\n"},
                          LogLine{3, failed + "No such file or directory"},
                          LogLine{7, "Failed to load counters schema from file: " + path},
                          LogLine{3, failed + "Success"}));
  const CountersSchemaPtr written = make_schema(16);
  directory.write(name, printed([&written](FILE* stream) {
                    tly_counters_schema_print(written.get(), stream);
                  }));
  EXPECT_EQ(load()->size_of_counters, 32U);
}

}  // namespace
}  // namespace tly::test
