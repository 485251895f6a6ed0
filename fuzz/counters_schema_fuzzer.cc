#include "round_trip.h"
#include "tallyra/counters_schema.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tly::fuzz::Reread;
  return tly::fuzz::check_round_trip<&tly_counters_schema_from_json, &tly_counters_schema_jsonify,
                                     &tly_destroy_counters_schema>(data, size, Reread::kMayFail);
}
