// What every decoder must withstand, and what must hold for the documents that it accepts.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

#include "encoding/json_ptr.h"

namespace tly::fuzz {

// Whether what was decoded and encoded may be refused: its encoding leaves out what has no text.
enum class Reread { kSucceeds, kMayFail };

// The text of what a document decodes to; empty when it is refused or has no text.
template <auto kFromJson, auto kJsonify, auto kDestroy>
std::string reencoded(const std::string& document, bool& is_accepted) {
  const JsonPtr value(json_parse_string(document.c_str()));
  auto* record = kFromJson(value.get());
  is_accepted = record != nullptr;
  if (!is_accepted) {
    return {};
  }
  const JsonPtr encoded(kJsonify(record));
  kDestroy(record);
  const Owned<char, &json_free_serialized_string> text(
      json_serialize_to_string_pretty(encoded.get()));
  return text != nullptr ? text.get() : "";
}

// Aborts unless an accepted document's text decodes to something of the same text.
template <auto kFromJson, auto kJsonify, auto kDestroy>
int check_round_trip(const std::uint8_t* data, std::size_t size, Reread reread) {
  bool is_accepted = false;
  const std::string document(data, data + size);
  const std::string first = reencoded<kFromJson, kJsonify, kDestroy>(document, is_accepted);
  if (first.empty()) {
    return 0;
  }
  const std::string second = reencoded<kFromJson, kJsonify, kDestroy>(first, is_accepted);
  if (is_accepted ? first != second : reread == Reread::kSucceeds) {
    std::abort();
  }
  return 0;
}

}  // namespace tly::fuzz
