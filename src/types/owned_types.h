// Owners of the records of this folder.
#pragma once

#include "common/owned.h"
#include "tallyra/schema.h"

namespace tly {

using FieldPtr = Owned<tly_type_field_definition_t, &tly_destroy_type_field_definition>;
using TypePtr = Owned<tly_type_definition_t, &tly_destroy_type_definition>;
using SchemaPtr = Owned<tly_schema_t, &tly_destroy_schema>;

// An array of null pointers to fields in a type that has none; false when memory runs out or when
// the type could not count so many. No array is made for no fields.
bool allocate_fields(tly_type_definition_t* type, std::size_t count) noexcept;

// Puts the field, which then belongs to the type, into the next place of the array.
void append_field(tly_type_definition_t* type, FieldPtr field) noexcept;

}  // namespace tly
