// Decoding of many type definitions with shapes that are parsed once.
#pragma once

#include "encoding/json_template.h"
#include "types/owned_types.h"

namespace tly {

struct TypeTemplates {
  JsonTemplate type{R"({"name" : "", "size" : 0, "fields" : []})"};
  JsonTemplate indexed_field{
      R"({"field_name" : "", "description" : "", "type_size" : 0, "offset" : 0, )"
      R"("type_name" : "", "counting_mode" : "", "index" : 0})"};
  JsonTemplate field{R"({"field_name" : "", "description" : "", "type_size" : 0, "offset" : 0, )"
                     R"("type_name" : "", "counting_mode" : ""})"};
};

// What tly_type_definition_from_json() and tly_type_field_definition_from_json() return and log.
TypePtr decode_type(const JSON_Value* value, TypeTemplates& templates) noexcept;
FieldPtr decode_field(const JSON_Value* value, TypeTemplates& templates) noexcept;

}  // namespace tly
