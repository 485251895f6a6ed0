#include "mediator/client_loader.h"

#include <dlfcn.h>

#include <cstdlib>
#include <string>
#include <type_traits>

#include "common/boundary.h"
#include "common/log.h"

namespace tly {
namespace {

constexpr char kPrefix[] = "[RPE mediator provider]";
constexpr char kLibraryName[] = "libqpx_client.so";
constexpr char kClientVariable[] = "QPX_CLIENT_SO";
constexpr char kSearchPathVariable[] = "LD_LIBRARY_PATH";
constexpr char kRootVariable[] = "TLY_ROOT";
constexpr char kDefaultRoot[] = "/opt/velmora/tallyra";

struct Binding {
  const char* name;
  void (*store)(ClientFunctions& functions, void* symbol);
};

template <auto kMember>
void store_symbol(ClientFunctions& functions, void* symbol) {
  using Function = std::remove_reference_t<decltype(functions.*kMember)>;
  functions.*kMember = reinterpret_cast<Function>(symbol);
}

constexpr Binding kBindings[] = {
    {"qpx_client_init", &store_symbol<&ClientFunctions::init>},
    {"qpx_client_destroy", &store_symbol<&ClientFunctions::destroy>},
    {"qpx_client_event_provider_create", &store_symbol<&ClientFunctions::event_provider_create>},
    {"qpx_client_event_provider_progress",
     &store_symbol<&ClientFunctions::event_provider_progress>},
    {"qpx_client_event_provider_terminate",
     &store_symbol<&ClientFunctions::event_provider_terminate>},
    {"qpx_client_counter_provider_create",
     &store_symbol<&ClientFunctions::counter_provider_create>},
    {"qpx_client_run_command", &store_symbol<&ClientFunctions::run_command>},
};

const char* variable_or_empty(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

// The text of the failure that the last dl call met. It must be the next dl call after it, and is
// null when a symbol was found but has the value null.
const char* last_error() {
  const char* const text = dlerror();
  return text != nullptr ? text : "";
}

// Whether the client, directly or through other libraries, needs the library that this code is in.
bool needs_this_library(void* client) {
  Dl_info own{};
  Dl_info found{};
  const void* const symbol = dlsym(client, "rpe_mediator_run_command");
  return symbol != nullptr && dladdr(symbol, &found) != 0 && dladdr(&kBindings, &own) != 0 &&
         found.dli_fbase == own.dli_fbase;
}

std::string install_directory() {
  const char* root = std::getenv(kRootVariable);
  if (root != nullptr) {
    TLY_LOG_INFO("deploy_path = %s (TLY_ROOT)", root);
  } else {
    root = kDefaultRoot;
  }
  return std::string(root) + "/lib/";
}

}  // namespace

GrpcHandler::QPXHandler::QPXHandler() {
  if (!find_library()) {
    TLY_LOG_INFO(
        "[RPE mediator provider] Could not load QPX client. please set QPX_CLIENT_SO with the "
        "library path");
    return;
  }
  if (bind_functions()) {
    connect();
  }
}

GrpcHandler::QPXHandler::~QPXHandler() {
  if (client_.handle != nullptr) {
    client_.functions.destroy(client_.handle);
  }
}

void GrpcHandler::QPXHandler::LibraryCloser::operator()(void* library) const noexcept {
  // Closing the last user of this library would unmap the code that runs here.
  if (!needs_this_library(library)) {
    dlclose(library);
  }
}

bool GrpcHandler::QPXHandler::find_library() {
  const std::string directory = install_directory();
  const std::string full_path = directory + kLibraryName;

  TLY_LOG_INFO("%s Looking for %s in:", kPrefix, kLibraryName);
  TLY_LOG_INFO("%s \t\t\t\t '%s'", kPrefix, kClientVariable);
  const char* const named_path = variable_or_empty(kClientVariable);
  if (*named_path != '\0' && open_library(named_path, named_path)) {
    return true;
  }
  TLY_LOG_INFO("%s \t\t\t\t %s=%s", kPrefix, kSearchPathVariable,
               variable_or_empty(kSearchPathVariable));
  if (open_library(kLibraryName, kSearchPathVariable)) {
    return true;
  }
  TLY_LOG_INFO("%s \t\t\t\t '%s'", kPrefix, directory.c_str());
  if (open_library(full_path.c_str(), directory.c_str())) {
    return true;
  }
  TLY_LOG_INFO("%s Cannot find '%s'. Dumping env variables.", kPrefix, kLibraryName);
  for (const char* const name : {kClientVariable, kSearchPathVariable}) {
    TLY_LOG_INFO("\t%s=%s", name, variable_or_empty(name));
  }
  return false;
}

bool GrpcHandler::QPXHandler::open_library(const char* path, const char* source) {
  library_.reset(dlopen(path, RTLD_LAZY));
  if (!library_) {
    TLY_LOG_WARNING("failed to open library %s: %s", path, last_error());
    return false;
  }
  TLY_LOG_INFO("opened API lib: handle=%p from path=%s", library_.get(), path);
  TLY_LOG_INFO("%s Loaded '%s' from %s", kPrefix, kLibraryName, source);
  return true;
}

bool GrpcHandler::QPXHandler::bind_functions() {
  for (const Binding& binding : kBindings) {
    void* const symbol = dlsym(library_.get(), binding.name);
    if (symbol == nullptr) {
      TLY_LOG_ERROR("[RPE mediator provider] Could not load '%s': %s", binding.name, last_error());
      return false;
    }
    binding.store(client_.functions, symbol);
  }
  return true;
}

void GrpcHandler::QPXHandler::connect() {
  // An exception must not leave this block: unwinding further would close the library that holds
  // it.
  client_.handle = result_or<void*>(nullptr, [this] { return client_.functions.init(); });
  if (client_.handle == nullptr) {
    TLY_LOG_ERROR("[RPE mediator provider] Could not create a QPX context");
    return;
  }
  connected_ = true;
}

}  // namespace tly
