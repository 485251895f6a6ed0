// Finds, loads and connects the remote-executor client library.
#pragma once

#include <memory>

#include "mediator/grpc_handler.h"
#include "mediator/remote_client.h"

namespace tly {

class GrpcHandler::QPXHandler {
 public:
  // Searches QPX_CLIENT_SO, the dynamic loader's own places and $TLY_ROOT/lib/, in this order, and
  // connects to the first library that opens. What goes wrong is logged.
  QPXHandler();

  // Destroys the client handle, which must not throw, and closes the library, unless that one needs
  // the library that this code is in.
  ~QPXHandler();
  QPXHandler(const QPXHandler&) = delete;
  QPXHandler& operator=(const QPXHandler&) = delete;

  // True when the library was loaded, every function bound and the client handle is not null.
  bool connected() const noexcept { return connected_; }

  // While connected, every function is bound.
  const RemoteClient& client() const noexcept { return client_; }

 private:
  struct LibraryCloser {
    void operator()(void* library) const noexcept;
  };

  bool find_library();
  bool open_library(const char* path, const char* source);
  bool bind_functions();
  void connect();

  std::unique_ptr<void, LibraryCloser> library_;
  RemoteClient client_;
  bool connected_ = false;
};

}  // namespace tly
