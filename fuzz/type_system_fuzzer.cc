#include "round_trip.h"
#include "tallyra/type_system.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tly::fuzz::Reread;
  return tly::fuzz::check_round_trip<&tly_type_system_from_json, &tly_type_system_jsonify,
                                     &tly_destroy_type_system>(data, size, Reread::kMayFail);
}
