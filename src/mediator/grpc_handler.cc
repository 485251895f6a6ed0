#include "mediator/grpc_handler.h"

#include "mediator/client_loader.h"

namespace tly {

GrpcHandler::GrpcHandler() noexcept {
  try {
    client_loader_ = std::make_unique<QPXHandler>();
    connected_ = client_loader_->connected();
  } catch (...) {
    connected_ = false;
  }
}

GrpcHandler::~GrpcHandler() = default;

bool GrpcHandler::runCommand(const char* command, bool flag, unsigned int time_limit, char** output,
                             unsigned long* length) {
  return client_loader_->functions().run_command(client_loader_->client(), command, flag,
                                                 time_limit, output, length);
}

}  // namespace tly
