#include "tallyra/schema_id.h"

#include <cstdlib>
#include <cstring>

#include "tallyra/string_utils.h"

namespace {

constexpr tly_schema_id_t kUnset{};
constexpr tly_schema_id_t kBlob{
    {'B', 'L', 'O', 'B', '_', 'D', 'A', 'T', 'A', '_', 'S', 'C', 'H', 'E', 'M', 'A'}};

}  // namespace

bool tly_schema_id_is_unset(const tly_schema_id_t* id) {
  return tly_compare_schema_id(id, &kUnset) == 0;
}

void tly_copy_schema_id(tly_schema_id_t* destination, const tly_schema_id_t* source) {
  *destination = *source;
}

void tly_reset_schema_id(tly_schema_id_t* id) { *id = kUnset; }

int tly_compare_schema_id(const tly_schema_id_t* a, const tly_schema_id_t* b) {
  return std::memcmp(a->bytes, b->bytes, sizeof a->bytes);
}

char* tly_schema_id_string(const tly_schema_id_t* id) {
  auto* text = static_cast<char*>(std::malloc(TLY_SCHEMA_ID_STRING_SIZE));
  if (text != nullptr) {
    tly_schema_id_to_schema_string(id, text);
  }
  return text;
}

void tly_schema_id_to_schema_string(const tly_schema_id_t* id, char* text) {
  constexpr char kDigits[] = "0123456789abcdef";
  for (const unsigned byte : id->bytes) {
    *text++ = kDigits[byte >> 4];
    *text++ = kDigits[byte & 15];
  }
  *text = '\0';
}

bool tly_schema_from_id_string(const char* text, tly_schema_id_t* id) {
  if (text == nullptr) {
    return true;
  }
  for (uint8_t& byte : id->bytes) {
    // The terminator is no digit, so nothing after it is read.
    const int high = hex_char_to_int(text[0]);
    const int low = high < 0 ? -1 : hex_char_to_int(text[1]);
    if (low < 0) {
      return false;
    }
    byte = static_cast<uint8_t>(high << 4 | low);
    text += 2;
  }
  return true;
}

bool tly_schema_id_is_blob(const tly_schema_id_t* id) {
  return tly_compare_schema_id(id, &kBlob) == 0;
}

void tly_schema_id_set_blob(tly_schema_id_t* id) { *id = kBlob; }
