// Event schemas as a provider could publish them, for tests of what must hold for all.
#pragma once

#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "tallyra/type_system.h"

namespace tly::test {

// Adds up to four types to a schema that has the built-in types as parent. Every type has a size.
inline void fill_random_schema(tly_schema_t* schema, std::mt19937& random) {
  static constexpr const char* kTexts[] = {"", "\"\\/", "\n\t\x01\x7f", "\xf0\x9f\x98\x80"};
  const auto below = [&random](std::size_t limit) { return random() % limit; };
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

// Adds such a schema, with its id, to a type system.
inline tly_schema_t* add_random_schema(tly_type_system_t* type_system, std::mt19937& random) {
  tly_schema_t* schema =
      tly_type_system_add_schema(type_system, "provider", static_cast<uint32_t>(random()), nullptr);
  fill_random_schema(schema, random);
  tly_type_system_update_md5_hashes(type_system);
  return schema;
}

}  // namespace tly::test
