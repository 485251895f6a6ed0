// The mediator's entry points, and the object behind them.
#include "tallyra/rpe_mediator.h"

#include "common/boundary.h"
#include "common/load_order.h"
#include "common/log.h"
#include "mediator/grpc_handler.h"

using tly::GrpcHandler;

namespace {

__attribute__((init_priority(TLY_LOAD_PRIORITY_MEDIATOR))) GrpcHandler mediator;

// The operation's result; the failure value without a connection and when memory runs out.
template <typename Result, typename Operation>
Result call_connected(Result failure, Operation operation) {
  if (!mediator.connected()) {
    TLY_LOG_INFO("[RPE mediator provider] no connection to server, cannot run");
    return failure;
  }
  return tly::result_or(failure, operation);
}

}  // namespace

GrpcHandler& GrpcHandler::instance() noexcept { return mediator; }

tly_provider_t* rpe_mediator_construct_counter_provider(const tly_options_t* options) {
  return call_connected<tly_provider_t*>(
      nullptr, [options] { return mediator.getNextCounterProvider(options); });
}

tly_event_provider_t* rpe_mediator_construct_event_provider(const tly_custom_options* options) {
  return call_connected<tly_event_provider_t*>(
      nullptr, [options] { return mediator.getNextEventProvider(options); });
}

bool rpe_mediator_run_command(const char* command, bool flag, uint32_t time_limit, char** output,
                              uint64_t* length) {
  return call_connected(
      false, [=] { return mediator.runCommand(command, flag, time_limit, output, length); });
}
