#include "tallyra/rpe_mediator.h"

#include <cxxabi.h>

#include "common/load_order.h"
#include "common/log.h"
#include "mediator/grpc_handler.h"

namespace {

__attribute__((init_priority(TLY_LOAD_PRIORITY_MEDIATOR))) tly::GrpcHandler mediator;

}  // namespace

bool rpe_mediator_run_command(const char* command, bool flag, uint32_t time_limit, char** output,
                              uint64_t* length) {
  if (!mediator.connected()) {
    TLY_LOG_INFO("[RPE mediator provider] no connection to server, cannot run");
    return false;
  }
  try {
    return mediator.runCommand(command, flag, time_limit, output, length);
  } catch (const abi::__forced_unwind&) {
    throw;  // a cancelled thread, which must unwind
  } catch (...) {
    return false;
  }
}
