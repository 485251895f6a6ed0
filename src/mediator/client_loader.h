// Finds, loads and connects the remote-executor client library.
#pragma once

#include <memory>

#include "mediator/grpc_handler.h"
#include "tallyra/qpx_client.h"

namespace tly {

// The functions of a client library, in the order in which they are bound; null where unbound.
struct ClientFunctions {
  qpx_client_init_t init = nullptr;
  qpx_client_destroy_t destroy = nullptr;
  qpx_client_event_provider_create_t event_provider_create = nullptr;
  qpx_client_event_provider_progress_t event_provider_progress = nullptr;
  qpx_client_event_provider_terminate_t event_provider_terminate = nullptr;
  qpx_client_counter_provider_create_t counter_provider_create = nullptr;
  qpx_client_run_command_t run_command = nullptr;
};

class GrpcHandler::QPXHandler {
 public:
  // Searches QPX_CLIENT_SO, the dynamic loader's own places and $TLY_ROOT/lib/, in this order, and
  // connects to the first library that opens. What goes wrong is logged.
  QPXHandler();

  // Destroys the client handle, which must not throw, and closes the library.
  ~QPXHandler();
  QPXHandler(const QPXHandler&) = delete;
  QPXHandler& operator=(const QPXHandler&) = delete;

  // True when the library was loaded, every function bound and the client handle is not null.
  bool connected() const noexcept { return connected_; }

  // While connected, every function is bound.
  const ClientFunctions& functions() const noexcept { return functions_; }
  void* client() const noexcept { return client_; }

 private:
  struct LibraryCloser {
    void operator()(void* library) const noexcept;
  };

  bool find_library();
  bool open_library(const char* path, const char* source);
  bool bind_functions();
  void connect();

  std::unique_ptr<void, LibraryCloser> library_;
  ClientFunctions functions_;
  void* client_ = nullptr;
  bool connected_ = false;
};

}  // namespace tly
