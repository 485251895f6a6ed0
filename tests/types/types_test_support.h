// Schemas of the tests of types.
#pragma once

#include <string>
#include <vector>

#include "records.h"
#include "types/owned_types.h"

namespace tly::test {

using Fields = std::vector<tly_type_field_info_t>;

inline tly_type_field_info_t field(const char* name, const char* type, uint16_t array_length = 1,
                                   tly_value_type_t counting_mode = TLY_VALUE_TYPE_ABSOLUTE) {
  return {name, "", type, counting_mode, array_length};
}

inline int add_type(const SchemaPtr& schema, const char* name, const Fields& fields,
                    uint8_t* index = nullptr) {
  return tly_schema_add_type(schema.get(), name, fields.data(), fields.size(), index);
}

inline SchemaPtr make_builtin_schema() {
  SchemaPtr schema(tly_create_schema("<built-in>", 0x501));
  tly_schema_register_builtin_types(schema.get());
  return schema;
}

inline SchemaPtr make_schema(const SchemaPtr& parent, const char* name = "p") {
  SchemaPtr schema(tly_create_schema(name, 0x10002));
  schema->parent = parent.get();
  return schema;
}

}  // namespace tly::test
