#include "tallyra/type_system.h"

#include <gmock/gmock.h>

#include <cstring>
#include <iterator>
#include <random>
#include <sstream>
#include <vector>

#include "environment.h"
#include "log_capture.h"
#include "records.h"

namespace tly::test {
namespace {

using testing::ElementsAre;

TypeSystemPtr decode(const std::string& text) {
  return TypeSystemPtr(tly_type_system_deserialize(text.c_str()));
}

std::string text_of(const TypeSystemPtr& type_system) {
  return taken(tly_type_system_serialize(type_system.get(), true));
}

std::string text_of(const tly_schema_id_t& id) {
  return OwnedString(tly_schema_id_string(&id)).get();
}

std::string counters_id_of(const TypeSystemPtr& type_system) {
  tly_schema_id_t id{};
  tly_type_system_fill_counter_schema_id(type_system.get(), &id);
  return text_of(id);
}

TypeSystemPtr make_with_schemas(std::size_t count) {
  std::string text = R"({"version":"1.5.0","schemas":[)";
  for (; count > 0; --count) {
    text += R"({"tly_version":"1.5","provider_name":"p","provider_version":"","types":[]},)";
  }
  return decode(text + "]}");
}

TEST(TypeSystem, StartsWithTheBuiltinTypesAndAnEmptyCountersSchema) {
  const TypeSystemPtr type_system(tly_create_type_system());
  EXPECT_EQ(text_of(type_system), R"({
    "name": "Tallyra type system",
    "version": "1.5.0",
    "counters_schema": {
        "title": "Tallyra performance counters collector",
        "version": "1.5.0",
        "counter_groups": []
    },
    "schemas": []
})");
  EXPECT_EQ(counters_id_of(type_system), "4f3bf2acc0afcfde025c9c0782701ab7");
  const tly_schema_t* builtin = type_system->builtin_schema;
  EXPECT_STREQ(builtin->provider_name, "<built-in>");
  EXPECT_EQ(builtin->provider_version, 0x501U);
  EXPECT_EQ(builtin->num_types, 22);
  while (tly_builtin_type_register_types(type_system.get())) {
  }
  EXPECT_STREQ(builtin->types[TLY_MAX_TYPES - 1]->name, "float");

  // The id is kept once it was asked for; without a counters schema there is none.
  type_system->counters_schema->num_groups = 0;
  tly_destroy_counters_schema(std::exchange(type_system->counters_schema, nullptr));
  tly_schema_id_t id{};
  tly_type_system_fill_counter_schema_id(type_system.get(), &id);
  EXPECT_TRUE(tly_schema_id_is_unset(&id));
}

TEST(TypeSystem, TextAndIdsAreFixed) {
  const std::string text = read_file(TYPE_SYSTEM);
  const TypeSystemPtr type_system = decode(text);
  EXPECT_EQ(text_of(type_system), text);
  EXPECT_EQ(counters_id_of(type_system), "ecb48dc616cef6a4bb4915e26a53b77b");
  const tly_schema_t* schema = type_system->schemas[0];
  EXPECT_EQ(text_of(schema->id), "ebd918e601875a76b6e1e4b1c331091b");
  EXPECT_STREQ(schema->id_string, "");
  tly_type_system_update_md5_hashes(type_system.get());
  EXPECT_STREQ(schema->id_string, "ebd918e601875a76b6e1e4b1c331091b");
  tly_schema_id_t id{};
  const JsonPtr value(tly_type_system_jsonify(type_system.get()));
  EXPECT_TRUE(tly_type_system_get_json_schema_id(&id, value.get()));
  EXPECT_EQ(text_of(id), "2ab9cb3b07d8dd1fbc4c52f7a3283b46");
}

// Does with a document what documents.txt describes.
std::string process(const std::string& action, const std::string& text,
                    const TypeSystemPtr& present, const TemporaryDirectory& directory) {
  int result = -1;
  uint8_t index = 0;
  if (action == "counters_schema") {
    const CountersSchemaPtr schema(tly_counters_schema_deserialize(text.c_str()));
    result = schema == nullptr ? -1 : static_cast<int>(schema->num_groups);
  } else if (action == "type_system") {
    const TypeSystemPtr decoded = decode(text);
    result = decoded == nullptr ? -1 : decoded->num_schemas;
  } else if (action == "add") {
    result = tly_type_system_add_schema_from_serialized_json(present.get(), text.c_str(), &index);
    result = result == 0 ? index : result;
  } else {
    const std::string path = directory.write("loaded.json", text);
    const tly_schema_t* schema = tly_type_system_load_schema(present.get(), path.c_str());
    result = schema == nullptr ? -1 : present->num_schemas - 1;
  }
  return action + " " + (result < 0 ? "refused" : std::to_string(result)) + " " + text + "\n";
}

TEST(TypeSystem, DocumentsAreTakenWholeOrRefused) {
  const TemporaryDirectory directory;
  const std::string path_head = directory.path().string() + "/";
  const TypeSystemPtr present(tly_create_type_system());
  const std::string first_id = counters_id_of(present);
  const std::string expected = read_file(DOCUMENTS);
  std::istringstream lines(expected);
  std::string outcomes;
  for (std::string line, action, result; std::getline(lines, line);) {
    if (line.empty() || line[0] == '#') {
      outcomes += line + "\n";
    } else if (line[0] != ' ') {
      const LogCapture log;
      std::istringstream(line) >> action >> result;
      outcomes +=
          process(action, line.substr(action.size() + result.size() + 2), present, directory);
      for (auto [level, message] : log.lines()) {
        if (const auto path = message.find(path_head); path != std::string::npos) {
          message.erase(path, path_head.size());
        }
        if (message.find("md5_digest") == std::string::npos) {
          outcomes += "  " + std::to_string(level) + " " + message + "\n";
        }
      }
    }
  }
  EXPECT_EQ(outcomes, expected);
  EXPECT_NE(counters_id_of(present), first_id);
  EXPECT_STREQ(present->schemas[0]->id_string, "4093d62f630864e3e515f23853956061");
}

TEST(TypeSystem, SchemasHaveIdsAndSizesOnceTheyHaveTypes) {
  const TypeSystemPtr type_system(tly_create_type_system());
  tly_schema_t* schema = tly_type_system_add_schema(type_system.get(), "p", 1, nullptr);
  const std::string zeros(32, '0');
  EXPECT_TRUE(tly_type_system_find_schema(type_system.get(), zeros.c_str(), nullptr));
  EXPECT_NE(text_of(type_system).find(R"("schemas": [])"), std::string::npos);
  EXPECT_EQ(tly_type_system_max_type_size(type_system.get()), 0U);
  const tly_type_field_info_t field{"f", "", "long", 0, 3};
  tly_schema_add_type(schema, "t", &field, 1, nullptr);
  tly_type_system_update_md5_hashes(type_system.get());
  EXPECT_FALSE(tly_type_system_find_schema(type_system.get(), zeros.c_str(), nullptr));
  {
    const LogCapture log;
    tly_type_system_add_schema(type_system.get(), "q", 1, nullptr);
    uint8_t slot = 99;
    EXPECT_TRUE(tly_type_system_find_schema(type_system.get(), zeros.c_str(), &slot));
    EXPECT_EQ(slot, 1);
    EXPECT_TRUE(tly_type_system_find_schema(type_system.get(), schema->id_string, &slot));
    EXPECT_EQ(slot, 0);
    EXPECT_EQ(log.count(7, std::string("Schema already exists ") + schema->id_string), 1U);
  }
  EXPECT_TRUE(
      tly_type_system_adjust_type_references(type_system.get(), type_system->builtin_schema));
  EXPECT_EQ(type_system->builtin_schema->parent, nullptr);
  EXPECT_EQ(tly_type_system_get_max_event_type_size(type_system.get()), 24U);
  type_system->counters_schema->size_of_counters = 25;
  EXPECT_EQ(tly_type_system_max_type_size(type_system.get()), 25U);
  schema->types[0]->size = 1ULL << 32;
  EXPECT_EQ(tly_type_system_max_type_size(type_system.get()), 0xFFFFFFFF);
}

TEST(TypeSystem, MovesSchemasAndStopsEveryWayOfAddingAtTheLimit) {
  const LogCapture log(3);
  EXPECT_EQ(make_with_schemas(256), nullptr);
  const TypeSystemPtr full = make_with_schemas(254);
  const TypeSystemPtr source = decode(read_file(TYPE_SYSTEM));
  uint8_t index = 0;
  EXPECT_EQ(tly_type_system_clone_schemas(full.get(), source.get(), &index), 0);
  EXPECT_EQ(index, 254);
  EXPECT_EQ(tly_type_system_clone_schemas(full.get(), source.get(), &index), -1);
  const tly_schema_t* moved = std::exchange(source->schemas[0], nullptr);
  EXPECT_EQ(full->schemas[254], moved);
  EXPECT_EQ(moved->types[0]->fields[0]->type_reference, full->builtin_schema->types[21]);
  EXPECT_EQ(tly_type_system_add_schema(full.get(), "p", 1, nullptr), nullptr);
  EXPECT_EQ(tly_type_system_add_schema_from_serialized_json(full.get(), "{", nullptr), -1);
  EXPECT_EQ(tly_type_system_load_schema(full.get(), "/none"), nullptr);
  EXPECT_THAT(log.texts(3),
              ElementsAre("[ts] Failed to deserialize: number of schemas 256 exceeds limit 255",
                          "Cannot add schema to type system",
                          "Failed to load schema: schema limit exceeded '255'"));
}

TEST(TypeSystem, KeepsWhatWasMovedBeforeASchemaThatCannotBe) {
  const std::string good =
      R"({"tly_version":"1.5","provider_name":"good","provider_version":"1.0","types":[]})";
  const TypeSystemPtr source =
      decode(R"({"version":"1.5.0","schemas":[)" + good + "," + good + "]}");
  const tly_type_field_info_t field{"f", "", "int", 0, 1};
  ASSERT_EQ(tly_schema_add_type(source->schemas[1], "t", &field, 1, nullptr), 0);
  std::free(std::exchange(source->schemas[1]->types[0]->fields[0]->type_name, strdup("gone")));
  const TypeSystemPtr destination(tly_create_type_system());
  const LogCapture log(3);
  uint8_t index = 99;
  EXPECT_EQ(tly_type_system_clone_schemas(destination.get(), source.get(), &index), -1);
  EXPECT_EQ(index, 0);
  EXPECT_EQ(destination->num_schemas, 1);
  EXPECT_EQ(destination->schemas[0], std::exchange(source->schemas[0], nullptr));
  EXPECT_EQ(tly_type_system_clone_schemas(destination.get(), destination.get(), nullptr), -1);
  EXPECT_THAT(log.texts(3),
              ElementsAre("Definition of type gone not found within the schema good",
                          "Cannot add schema to type system", "Cannot add schema to type system"));
}

// A group of random counters; it has no provider.
tly_counter_group_t* random_counter_group(std::mt19937& random) {
  static char texts[][12] = {"", "a b", "\"\\/", "\n\t\x01\x7f", "\xc3\xa9\xf0\x9f\x98\x80"};
  const auto below = [&random](uint32_t limit) { return static_cast<uint32_t>(random() % limit); };
  const auto text = [&] { return texts[below(5)]; };
  const auto word = [&] { return below(2) == 0 ? below(3) * 8 : static_cast<uint32_t>(random()); };
  tly_counter_group_t* group = allocate_zeroed<tly_counter_group_t>().release();
  group->granularity = below(3);
  group->num_counter_sets = word();
  group->name = below(2) == 0 ? nullptr : strdup(text());
  group->provider_name = below(2) == 0 ? nullptr : strdup(text());
  for (uint32_t counters = below(6); counters > 0; --counters) {
    const bool hidden = below(2) == 0;
    const tly_counter_info_t counter{0,      text(), text(), text(), below(6), below(3),
                                     word(), word(), word(), hidden, !hidden};
    tly_add_counter_to_group(group, &counter);
  }
  return group;
}

// Adds a schema of up to four types, each with a size.
void add_random_schema(tly_type_system_t* type_system, std::mt19937& random) {
  static constexpr const char* kTexts[] = {"", "\"\\/", "\n\t\x01\x7f", "\xf0\x9f\x98\x80"};
  const auto below = [&random](std::size_t limit) { return random() % limit; };
  tly_schema_t* const schema =
      tly_type_system_add_schema(type_system, "provider", static_cast<uint32_t>(random()), nullptr);
  for (auto types = 1 + below(4); types > 0; --types) {
    std::vector<tly_type_field_info_t> fields;
    for (const char* name : {"a", "\xc3\xa9", "/", "b c"}) {
      const tly_schema_t* source = schema->num_types > 0 && below(3) == 0 ? schema : schema->parent;
      const auto length = fields.empty() || below(2) == 0 ? 1 : below(3) * below(9000);
      fields.push_back({name, kTexts[below(std::size(kTexts))],
                        source->types[below(source->num_types)]->name,
                        static_cast<tly_value_type_t>(below(4)), static_cast<uint16_t>(length)});
    }
    const std::string name = kTexts[below(std::size(kTexts))] + std::to_string(types);
    tly_schema_add_type(schema, name.c_str(), fields.data(), 1 + below(fields.size()), nullptr);
    schema->types[schema->num_types - 1]->fields[0]->index = static_cast<uint16_t>(random());
  }
}

TEST(TypeSystem, ReadsBackWhatItWrote) {
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    const TypeSystemPtr type_system(tly_create_type_system());
    tly_counters_schema_t* const counters = type_system->counters_schema;
    for (auto groups = random() % 4; groups > 0; --groups) {
      tly_counters_schema_append_group(counters, random_counter_group(random));
    }
    tly_counters_schema_update_counter_offsets(counters);
    for (auto schemas = random() % 4; schemas > 0; --schemas) {
      add_random_schema(type_system.get(), random);
    }
    tly_type_system_update_md5_hashes(type_system.get());
    const std::string text = text_of(type_system);
    const TypeSystemPtr reread = decode(text);
    ASSERT_EQ(text_of(reread), text);
    EXPECT_EQ(counters_id_of(reread), counters_id_of(type_system));
    // Schemas without types are left out of the text.
    uint8_t slot = 0;
    for (int i = 0; i < type_system->num_schemas; ++i) {
      tly_schema_id_t id{};
      if (tly_schema_extract_id(type_system->schemas[i], &id)) {
        EXPECT_EQ(tly_compare_schema_id(&reread->schemas[slot++]->id, &id), 0);
      }
    }
    EXPECT_EQ(slot, reread->num_schemas);
  }
}

}  // namespace
}  // namespace tly::test
