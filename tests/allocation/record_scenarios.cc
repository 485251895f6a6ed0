// Counters, groups, types, records, and the schemas and type systems that hold them.
#include <fstream>
#include <functional>
#include <string>

#include "environment.h"
#include "records.h"
#include "scenario.h"
#include "types/owned_types.h"

namespace tly::test {
namespace {

constexpr char kCounters[] =
    R"({"version":"1.5.0","counter_groups":[{"granularity":"CPU","name":"g","provider":"p",)"
    R"("num_counter_sets":2,"num_counters":2,"counters":[)"
    R"({"name":"n","description":"d","units":"u","data_type":"UINT64","length":8,)"
    R"("counting_type":"ABSOLUTE"},)"
    R"({"name":"s","description":"d","units":"u","data_type":"STRING","length":8,)"
    R"("counting_type":"ABSOLUTE"}]}]})";

constexpr tly_type_field_info_t kFields[] = {{"name", "d", "char", TLY_VALUE_TYPE_ABSOLUTE, 3},
                                             {"inner", "d", "span", TLY_VALUE_TYPE_ABSOLUTE, 2}};
constexpr const char* kNewType = "new";

// Whole ones, which nothing changes: a provider of one component, whose counters are those of the
// group of the counters schema; a type system; and a schema under it with one more type.
struct Example {
  Example() {
    component.name = component.description = provider.name = provider.description = name;
    component.enabled = true;
    component.num_counters = 2;
    component.counters = group->counters;
    provider.num_components = 1;
    provider.components = components;
    provider.counter_group_create = [](const tly_component_t*) {
      return allocate_zeroed<tly_counter_group_t>().release();
    };
    provider.counter_group_add_counter = [](tly_counter_group_t* to, const tly_counter_info_t*) {
      return ++to->num_counters > 0;
    };
    tly_schema_add_type(schema.get(), kNewType, kFields, std::size(kFields), nullptr);
    type = tly_schema_find_type_definition(schema.get(), kNewType);
    tly_type_system_update_md5_hashes(types.get());
  }

  char name[2] = "p";
  CountersSchemaPtr counters{tly_counters_schema_deserialize(kCounters)};
  tly_counter_group_t* group = counters->groups[0];
  tly_component_t component{};
  tly_component_t* components[1] = {&component};
  tly_provider_t provider{};
  TypeSystemPtr types{tly_type_system_deserialize(read_file(TYPE_SYSTEM).c_str())};
  SchemaPtr schema{tly_schema_load_from_file(EVENT_SCHEMA, types->builtin_schema)};
  tly_type_definition_t* type;
};

Example& example() {
  static Example example;
  return example;
}

// Checks that encoding gives the whole value or none; returns a whole one.
template <typename Encode>
JsonPtr encode(Pass& pass, Encode encode) {
  JsonPtr whole(encode());
  const auto value = pass.make<&json_value_free>(encode);
  EXPECT_TRUE(!value || json_value_equals(value.get(), whole.get()) == 1);
  return whole;
}

// Prints into a stream that has to make itself a buffer.
template <typename Print>
void print(Pass& pass, Print print) {
  const Owned<FILE, &std::fclose> stream(std::fopen("/dev/null", "w"));
  pass.call([&] { return print(stream.get()), true; });
}

SCENARIO(Counters) {
  const tly_counter_group_t* const group = example().group;
  const tly_counter_info_t* const counter = group->counters[0];
  const tly_counter_value_t values[4]{};
  pass.make<&release_counter>([&] { return tly_counter_info_deep_copy(counter); });
  encode(pass, [&] { return tly_counter_set_values_jsonify(group, values); });
  encode(pass, [&] { return tly_counter_group_values_jsonify(group, values); });
  const auto of_counter = encode(pass, [&] { return tly_counter_info_jsonify(counter); });
  const auto of_group = encode(pass, [&] { return tly_counter_group_jsonify(group); });
  pass.make<&release_counter>([&] { return tly_counter_info_from_json(of_counter.get()); });
  pass.make<&tly_free_counter_group>([&] { return tly_counter_group_from_json(of_group.get()); });
  print(pass, [&](FILE* stream) { tly_print_counter_group_values(group, values, stream); });
  print(pass, [&](FILE* stream) { tly_print_counter_group(group, stream); });
}

SCENARIO(CounterGroups) {
  Example& whole = example();
  const GroupPtr group(
      pass.whole([&] { return tly_create_counter_group(&whole.provider, &whole.component); }));
  for (uint32_t count = 0; group && count < 3; ++count) {
    const uint32_t held = group->num_counters;
    const bool is_added =
        pass.whole([&] { return tly_add_counter_to_group(group.get(), whole.group->counters[0]); });
    EXPECT_EQ(group->num_counters, held + (is_added ? 1 : 0));
  }
}

SCENARIO(ProviderDescriptions) {
  const Example& whole = example();
  encode(pass, [&] { return tly_jsonify_component_info(&whole.component, true); });
  encode(pass, [&] { return tly_jsonify_provider_info(&whole.provider, true, true); });
  print(pass, [&](FILE* to) { tly_print_component_info(&whole.component, true, to); });
  print(pass, [&](FILE* to) { tly_print_provider_info(&whole.provider, true, true, to); });
}

SCENARIO(CountersSchemas) {
  static const TemporaryDirectory directory;
  static const auto path = directory.write("schema_" + std::string(32, '7') + ".json", kCounters);
  tly_schema_id_t id;
  std::fill(std::begin(id.bytes), std::end(id.bytes), '\x77');
  const tly_counters_schema_t* const whole = example().counters.get();
  const auto json = encode(pass, [&] { return tly_counters_schema_jsonify(whole); });
  print(pass, [&](FILE* stream) { tly_counters_schema_print(whole, stream); });
  // Making a text smaller and buffering a file may fail unnoticed.
  const TextPtr text(pass.may([&] { return tly_counters_schema_serialize(whole); }));
  for (const auto& read : std::initializer_list<std::function<tly_counters_schema_t*()>>{
           [&] { return tly_counters_schema_from_json(json.get()); },
           [] { return tly_counters_schema_deserialize(kCounters); },
           [] { return tly_counters_schema_load(path.c_str()); },
           [&] { return tly_counters_load_schema_from_dir(&id, directory.path().c_str()); }}) {
    const CountersSchemaPtr schema(pass.may(read));
    EXPECT_EQ(schema ? tly_counters_schema_size_of_counters(schema.get()) : 16, 16U);
  }
  const CountersSchemaPtr schema(pass.whole([] { return tly_create_counters_schema(); }));
  GroupPtr group(
      tly_counter_group_from_json(JsonPtr(tly_counter_group_jsonify(example().group)).get()));
  const auto append = [&] { return tly_counters_schema_append_group(schema.get(), group.get()); };
  if (schema && pass.whole(append)) {
    static_cast<void>(group.release());
  }
  EXPECT_EQ(schema ? schema->num_groups : 0, schema && !group ? 1U : 0U);
}

SCENARIO(Types) {
  static constexpr unsigned char kRecord[32] = {'a'};
  const tly_type_definition_t* const type = example().type;
  const tly_type_field_definition_t* const inner = type->fields[1];
  pass.make<&tly_destroy_type_definition>([] { return tly_create_type_definition(); });
  pass.make<&tly_destroy_type_field_definition>([] { return tly_create_type_field_definition(); });
  pass.make<&tly_destroy_type_field_definition>(
      [] { return tly_type_field_definition_from_info(kFields); });
  encode(pass, [] { return tly_builtin_type_jsonify(TLY_BUILTIN_TYPE_CHAR, "a"); });
  encode(pass, [&] { return tly_type_definition_jsonify_data(type, kRecord); });
  for (const auto convert :
       {&tly_type_field_definition_jsonify_data, &tly_type_field_definition_jsonify_scalar,
        &tly_type_field_definition_jsonify_array}) {
    encode(pass, [&] { return convert(inner, kRecord); });
  }
  const auto of_field = encode(pass, [&] { return tly_type_field_definition_jsonify(inner); });
  const auto of_type = encode(pass, [&] { return tly_type_definition_jsonify(type); });
  pass.make<&tly_destroy_type_field_definition>(
      [&] { return tly_type_field_definition_from_json(of_field.get()); });
  pass.make<&tly_destroy_type_definition>(
      [&] { return tly_type_definition_from_json(of_type.get()); });
  const TextPtr text(pass.may([&] { return tly_type_definition_serialize(type, true); }));

  tly_type_definition_t* made[30]{};
  const int32_t count = pass.call([&] { return tly_builtin_type_get_type_defs(made, 30); });
  EXPECT_EQ(count, pass.last_call_failed() ? -1 : 22);
  for (tly_type_definition_t* const builtin : made) {
    tly_destroy_type_definition(builtin);
  }
}

SCENARIO(Schemas) {
  const SchemaPtr schema(pass.whole([] { return tly_create_schema("p", 1); }));
  if (!schema || !pass.whole([&] { return tly_schema_register_builtin_types(schema.get()); })) {
    EXPECT_EQ(schema ? schema->num_types : 0, 0);
    return;
  }
  uint8_t index = 99;
  const int status =
      pass.call([&] { return tly_schema_add_type(schema.get(), kNewType, kFields, 1, &index); });
  EXPECT_EQ(status, pass.last_call_failed() ? TLY_SCHEMA_ALLOCATION_FAILED : TLY_SCHEMA_SUCCESS);
  EXPECT_EQ(index, status == TLY_SCHEMA_SUCCESS ? 22 : 99);
  EXPECT_EQ(schema->num_types, status == TLY_SCHEMA_SUCCESS ? 23 : 22);
}

// Checks that calculate() gives the expected id or, when an allocation failed, none.
template <typename Calculate>
void identify(Pass& pass, const tly_schema_id_t& expected, Calculate calculate) {
  tly_schema_id_t id{};
  pass.call([&] { return calculate(&id), true; });
  EXPECT_TRUE(tly_compare_schema_id(&id, &expected) == 0 ||
              (pass.last_call_failed() && tly_schema_id_is_unset(&id)));
}

SCENARIO(SchemaTexts) {
  const tly_schema_t* const schema = example().schema.get();
  tly_schema_t* const parent = example().types->builtin_schema;
  const auto json = encode(pass, [&] { return tly_schema_jsonify(schema); });
  pass.make<&tly_destroy_schema>([&] { return tly_schema_from_json(json.get()); });
  const TextPtr text(
      pass.may([&] { return tly_schema_serialize_type_definition(schema, kNewType, false); }));
  const SchemaPtr loaded(pass.may([&] { return tly_schema_load_from_file(EVENT_SCHEMA, parent); }));
  EXPECT_TRUE(!loaded || loaded->id_string == std::string("90b0913b333f887eed0aa5021c491707"));
  tly_schema_id_t id;
  tly_schema_extract_id(schema, &id);
  identify(pass, id, [&](auto* to) { tly_schema_extract_id(schema, to); });
  identify(pass, id, [&](auto* to) { tly_type_system_get_json_schema_id(to, json.get()); });
}

SCENARIO(TypeSystems) {
  static const std::string event_text = read_file(EVENT_SCHEMA);
  const TypeSystemPtr types(pass.whole([] { return tly_create_type_system(); }));
  if (!types) {
    return;
  }
  const bool is_doubled = pass.whole([&] { return tly_builtin_type_register_types(types.get()); });
  EXPECT_EQ(types->builtin_schema->num_types, is_doubled ? 44 : 22);
  uint8_t index = 99;
  const tly_counters_schema_t* const counters = types->counters_schema;
  const auto add_text = [&](const char* text) {
    return tly_type_system_add_schema_from_serialized_json(types.get(), text, &index) == 0;
  };
  bool is_added = pass.may([&] { return add_text(kCounters); });
  EXPECT_EQ(index, is_added ? TLY_COUNTERS_SCHEMA_INDEX : 99);
  EXPECT_EQ(types->counters_schema == counters, !is_added);
  int held = 0;
  for (const auto& add : std::initializer_list<std::function<bool()>>{
           [&] { return add_text(event_text.c_str()); },
           [&] { return tly_type_system_add_schema(types.get(), "p", 1, &index) != nullptr; },
           [&] { return tly_type_system_load_schema(types.get(), EVENT_SCHEMA); }}) {
    held += pass.may(add) ? 1 : 0;
    EXPECT_EQ(types->num_schemas, held);
  }
}

SCENARIO(TypeSystemTexts) {
  tly_type_system_t* const types = example().types.get();
  static const std::string text = TextPtr(tly_type_system_serialize(types, false)).get();
  const auto json = encode(pass, [&] { return tly_type_system_jsonify(types); });
  const TextPtr written(pass.may([&] { return tly_type_system_serialize(types, false); }));
  EXPECT_TRUE(!written || written.get() == text);
  // Only the ids of schemas are done without.
  for (const auto& read : std::initializer_list<std::function<tly_type_system_t*()>>{
           [&] { return tly_type_system_from_json(json.get()); },
           [&] { return tly_type_system_deserialize(text.c_str()); }}) {
    const TypeSystemPtr reread(pass.may(read));
    EXPECT_TRUE(!reread || TextPtr(tly_type_system_serialize(reread.get(), false)).get() == text);
  }
  const tly_counters_schema_t* const counters = types->counters_schema;
  tly_schema_id_t id;
  tly_calc_counters_schema_id(&id, counters);
  identify(pass, id, [&](auto* to) { tly_calc_counters_schema_id(to, counters); });
  tly_reset_schema_id(&types->counters_schema_id);
  identify(pass, id, [&](auto* to) { tly_type_system_fill_counter_schema_id(types, to); });
  const std::string id_string = types->schemas[0]->id_string;
  pass.call([&] { return tly_type_system_update_md5_hashes(types), true; });
  EXPECT_EQ(types->schemas[0]->id_string, id_string);
}

}  // namespace
}  // namespace tly::test
