#include <cctype>
#include <cstdlib>
#include <cstring>

#include "common/log.h"
#include "common/printable.h"
#include "encoding/json_builder.h"
#include "tallyra/type_definition.h"

namespace {

using tly::JsonPtr;

// The types that are being converted, innermost first. A decoded type may name itself, or types
// that lead back to it, as a field's type: it has no end, and so no conversion.
struct TypePath {
  const tly_type_definition_t* type;
  const TypePath* outer;

  bool holds(const tly_type_definition_t* other) const noexcept {
    for (const TypePath* level = this; level != nullptr; level = level->outer) {
      if (level->type == other) {
        return true;
      }
    }
    return false;
  }
};

JsonPtr convert_record(const tly_type_definition_t* type, const unsigned char* record,
                       const TypePath* outer) noexcept;

JsonPtr convert_scalar(const tly_type_field_definition_t* field, const unsigned char* bytes,
                       const TypePath* outer) noexcept {
  const tly_type_definition_t* type = field->type_reference;
  if (type == nullptr) {
    return nullptr;
  }
  return type->builtin_id != TLY_BUILTIN_TYPE_NONE
             ? JsonPtr(tly_builtin_type_jsonify(type->builtin_id, bytes))
             : convert_record(type, bytes, outer);
}

JsonPtr convert_array(const tly_type_field_definition_t* field, const unsigned char* bytes,
                      const TypePath* outer) noexcept {
  return tly::make_json_array(field->array_length, [&](uint64_t index) {
    return convert_scalar(field, bytes + index * field->type_size, outer);
  });
}

bool is_text(const tly_type_field_definition_t* field) noexcept {
  const tly_type_definition_t* type = field->type_reference;
  return type != nullptr && (type->builtin_id == TLY_BUILTIN_TYPE_CHAR ||
                             type->builtin_id == TLY_BUILTIN_TYPE_UNSIGNED_CHAR);
}

JsonPtr convert_text(const tly_type_field_definition_t* field,
                     const unsigned char* bytes) noexcept {
  std::size_t length = 0;
  while (length < field->array_length && std::isprint(bytes[length]) != 0) {
    ++length;
  }
  const tly::OwnedString text(static_cast<char*>(std::calloc(length + 1, 1)));
  JsonPtr value;
  if (text != nullptr) {
    std::memcpy(text.get(), bytes, length);
    value.reset(json_value_init_string(text.get()));
  }
  if (value == nullptr) {
    TLY_LOG_ERROR("Failed to serialize field %s of type %s[%u] as string",
                  tly::printable(field->field_name), tly::printable(field->type_name),
                  static_cast<unsigned>(field->array_length));
  }
  return value;
}

JsonPtr convert_field(const tly_type_field_definition_t* field, const unsigned char* bytes,
                      const TypePath* outer) noexcept {
  if (field->array_length == 1) {
    return convert_scalar(field, bytes, outer);
  }
  return is_text(field) ? convert_text(field, bytes) : convert_array(field, bytes, outer);
}

JsonPtr convert_record(const tly_type_definition_t* type, const unsigned char* record,
                       const TypePath* outer) noexcept {
  if (outer != nullptr && outer->holds(type)) {
    return nullptr;
  }
  const TypePath path{type, outer};
  tly::JsonObjectBuilder object;
  for (std::size_t index = 0; index < type->num_fields && !object.failed(); ++index) {
    const tly_type_field_definition_t* field = type->fields[index];
    object.set_value(field->field_name, convert_field(field, record + field->offset, &path));
  }
  return JsonPtr(object.release());
}

// One of the conversions above, from outside any other.
template <typename Definition, typename Convert>
JSON_Value* convert_outermost(const Definition* definition, const void* bytes,
                              Convert convert) noexcept {
  if (definition == nullptr || bytes == nullptr) {
    return nullptr;
  }
  return convert(definition, static_cast<const unsigned char*>(bytes), nullptr).release();
}

}  // namespace

JSON_Value* tly_type_definition_jsonify_data(const tly_type_definition_t* type,
                                             const void* record) {
  return convert_outermost(type, record, convert_record);
}

JSON_Value* tly_type_field_definition_jsonify_data(const tly_type_field_definition_t* field,
                                                   const void* bytes) {
  return convert_outermost(field, bytes, convert_field);
}

JSON_Value* tly_type_field_definition_jsonify_scalar(const tly_type_field_definition_t* field,
                                                     const void* bytes) {
  return convert_outermost(field, bytes, convert_scalar);
}

JSON_Value* tly_type_field_definition_jsonify_array(const tly_type_field_definition_t* field,
                                                    const void* bytes) {
  return convert_outermost(field, bytes, convert_array);
}
