#include "mediator/grpc_handler.h"

#include "mediator/client_loader.h"
#include "mediator/provider_handler.h"

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

const RemoteClient& GrpcHandler::client() const noexcept {
  static constexpr RemoteClient kUnbound{};
  return client_loader_ != nullptr ? client_loader_->client() : kUnbound;
}

bool GrpcHandler::runCommand(const char* command, bool flag, unsigned int time_limit, char** output,
                             unsigned long* length) {
  return client().run_command(command, flag, time_limit, output, length);
}

std::int32_t GrpcHandler::stopProvider(const ProviderHandler& handler) {
  const std::uint32_t remote_id = handler.remote_id();
  const std::int32_t status = client().terminate(remote_id);
  handlers_.erase(remote_id);
  return status;
}

}  // namespace tly
