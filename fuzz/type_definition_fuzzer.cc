#include "round_trip.h"
#include "tallyra/type_definition.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tly::fuzz::Reread;
  return tly::fuzz::check_round_trip<&tly_type_definition_from_json, &tly_type_definition_jsonify,
                                     &tly_destroy_type_definition>(data, size, Reread::kSucceeds);
}
