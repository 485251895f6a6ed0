#include "tallyra/builtin_types.h"

#include <cstdio>
#include <cstring>

#include "tallyra/parson.h"
#include "tallyra/string_utils.h"

namespace {

// The value at an address of any alignment.
template <typename T>
double read(const void* bytes) noexcept {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return static_cast<double>(value);
}

struct BuiltinType {
  uint32_t id;
  const char* name;
  size_t size;
  double (*read_value)(const void* bytes) noexcept;
};

template <typename T>
constexpr BuiltinType row(uint32_t id, const char* name) {
  return {id, name, sizeof(T), &read<T>};
}

constexpr BuiltinType kTypes[] = {
    row<uint8_t>(1, "bool"),
    row<uint8_t>(TLY_BUILTIN_TYPE_CHAR, "char"),
    row<int16_t>(3, "short"),
    row<int32_t>(4, "int"),
    row<int64_t>(5, "long"),
    row<int64_t>(6, "long long"),
    row<uint8_t>(TLY_BUILTIN_TYPE_UNSIGNED_CHAR, "unsigned char"),
    row<uint16_t>(8, "unsigned short"),
    row<uint32_t>(9, "unsigned int"),
    row<uint64_t>(10, "unsigned long"),
    row<uint64_t>(11, "unsigned long long"),
    row<float>(12, "float"),
    row<double>(13, "double"),
    row<int8_t>(14, "int8_t"),
    row<int16_t>(15, "int16_t"),
    row<int32_t>(16, "int32_t"),
    row<int64_t>(17, "int64_t"),
    row<uint8_t>(18, "uint8_t"),
    row<uint16_t>(19, "uint16_t"),
    row<uint32_t>(20, "uint32_t"),
    row<uint64_t>(21, "uint64_t"),
    row<uint64_t>(22, "timestamp"),
    {TLY_BUILTIN_TYPE_NONE, nullptr, 0, nullptr},
};

constexpr tly_pair_t kCountingModes[] = {
    {TLY_VALUE_TYPE_ABSOLUTE, "ABSOLUTE"},
    {TLY_VALUE_TYPE_RELATIVE, "RELATIVE"},
    {TLY_VALUE_TYPE_DERIVATIVE, "DERIVATIVE"},
    {TLY_VALUE_TYPE_ABSOLUTE_MONOTONIC, "ABSOLUTE_MONOTONIC"},
    {-1, nullptr},
};

// The first row that satisfies the condition, or the terminator.
template <typename Condition>
const BuiltinType& find_row(Condition condition) noexcept {
  const BuiltinType* type = kTypes;
  while (type->id != TLY_BUILTIN_TYPE_NONE && !condition(*type)) {
    ++type;
  }
  return *type;
}

const BuiltinType& row_of(uint32_t builtin_id) noexcept {
  return find_row([builtin_id](const BuiltinType& type) { return type.id == builtin_id; });
}

}  // namespace

const char* tly_builtin_type_name(uint32_t builtin_id) { return row_of(builtin_id).name; }

size_t tly_builtin_type_size(uint32_t builtin_id) { return row_of(builtin_id).size; }

uint32_t tly_builtin_type_from_name(const char* name) {
  if (name == nullptr) {
    return TLY_BUILTIN_TYPE_NONE;
  }
  return find_row([name](const BuiltinType& type) { return std::strcmp(type.name, name) == 0; }).id;
}

JSON_Value* tly_builtin_type_jsonify(uint32_t builtin_id, const void* value) {
  const BuiltinType& type = row_of(builtin_id);
  if (type.read_value == nullptr || value == nullptr) {
    return nullptr;
  }
  return json_value_init_number(type.read_value(value));
}

void tly_builtin_type_print_info(FILE* stream) {
  if (stream == nullptr) {
    return;
  }
  std::fprintf(stream, " %2s %-25s  %-8s\n", "Id", "Name", "Size");
  for (const BuiltinType* type = kTypes; type->id != TLY_BUILTIN_TYPE_NONE; ++type) {
    std::fprintf(stream, " %2d %-25s  %-8zu\n", static_cast<int>(type->id), type->name, type->size);
  }
}

const char* tly_value_type_string(uint32_t value_type) {
  return pair_get_string(kCountingModes, value_type);
}

uint32_t tly_value_type_from_string(const char* name) {
  return pair_get_number(kCountingModes, name);
}
