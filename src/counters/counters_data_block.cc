#include <cctype>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "common/clock.h"
#include "tallyra/counter_data.h"

namespace {

constexpr char kPrefix[] = {'T', 'L', 'Y'};
constexpr char kDataBlockType = 'D';

struct FieldLayout {
  const char* name;
  std::size_t offset;
  std::size_t size;
};

constexpr FieldLayout kHeaderLayout[] = {
    {"header.magic", offsetof(tly_counters_data_t, magic), sizeof(tly_counters_data_t::magic)},
    {"padding", offsetof(tly_counters_data_t, padding), sizeof(tly_counters_data_t::padding)},
    {"timestamp", offsetof(tly_counters_data_t, timestamp), sizeof(tly_counters_data_t::timestamp)},
};

}  // namespace

void tly_magic_value_fill(tly_magic_value_t* magic, char type) {
  if (magic == nullptr) {
    return;
  }
  std::memcpy(magic->bytes, kPrefix, sizeof kPrefix);
  magic->bytes[sizeof kPrefix] = type;
}

void tly_magic_value_fill_lower(tly_magic_value_t* magic, char type) {
  if (magic == nullptr) {
    return;
  }
  tly_magic_value_fill(magic, type);
  for (char& byte : magic->bytes) {
    byte = static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
  }
}

void tly_magic_value_copy(tly_magic_value_t* destination, const tly_magic_value_t* source) {
  if (destination != nullptr && source != nullptr) {
    *destination = *source;
  }
}

bool tly_magic_value_match_type(const tly_magic_value_t* magic, char type) {
  return magic != nullptr && std::memcmp(magic->bytes, kPrefix, sizeof kPrefix) == 0 &&
         magic->bytes[sizeof kPrefix] == type;
}

bool tly_magic_value_match(const tly_magic_value_t* a, const tly_magic_value_t* b) {
  return a != nullptr && b != nullptr && std::strncmp(a->bytes, b->bytes, sizeof kPrefix) == 0 &&
         a->bytes[sizeof kPrefix] == b->bytes[sizeof kPrefix];
}

void tly_counters_data_reset(tly_counters_data_t* data) {
  if (data == nullptr) {
    return;
  }
  tly_magic_value_fill(&data->magic, kDataBlockType);
  data->padding = 0;
  data->timestamp = tly::microseconds_now();
}

void tly_counters_data_print_info(FILE* stream, const tly_counters_data_t* data) {
  if (stream == nullptr || data == nullptr) {
    return;
  }
  std::fprintf(stream, "Data block\n");
  // The precision keeps the print from running on past the four bytes, which no NUL ends.
  std::fprintf(stream, " %-20s = %4.4s\n", "magic number", data->magic.bytes);
  std::fprintf(stream, " %-20s = %lu\n", "last timestamp",
               static_cast<unsigned long>(data->timestamp));
}

void tly_counters_data_print_struct_layout(void) {
  std::printf("Field                       Offset    Size\n");
  for (const FieldLayout& field : kHeaderLayout) {
    std::printf(" %-25s  %-8lu  %-lu\n", field.name, static_cast<unsigned long>(field.offset),
                static_cast<unsigned long>(field.size));
  }
  std::printf(" %-25s  %-8lu\n", "values[]",
              static_cast<unsigned long>(offsetof(tly_counters_data_t, values)));
}
