// The mediator's process-wide object.
#pragma once

#include <memory>

namespace tly {

// Owns the connection to the remote executor. The library has one instance, built while the library
// is being loaded and destroyed while it is being unloaded; whether it is connected never changes
// in between.
class GrpcHandler {
 public:
  class QPXHandler;  // the client loader, client_loader.h

  // Loads the client library and connects. No exception escapes: without memory, or with a client
  // that throws, the object is not connected.
  GrpcHandler() noexcept;
  ~GrpcHandler();
  GrpcHandler(const GrpcHandler&) = delete;
  GrpcHandler& operator=(const GrpcHandler&) = delete;

  bool connected() const noexcept { return connected_; }

  // Hands everything to the client unchanged and returns its result. Only while connected. Takes no
  // lock: nothing it reads changes after construction.
  bool runCommand(const char* command, bool flag, unsigned int time_limit, char** output,
                  unsigned long* length);

 private:
  std::unique_ptr<QPXHandler> client_loader_;
  bool connected_ = false;
};

}  // namespace tly
