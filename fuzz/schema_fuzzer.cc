#include "round_trip.h"
#include "tallyra/schema.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tly::fuzz::Reread;
  return tly::fuzz::check_round_trip<&tly_schema_from_json, &tly_schema_jsonify,
                                     &tly_destroy_schema>(data, size, Reread::kSucceeds);
}
