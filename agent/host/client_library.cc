#include "host/client_library.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <memory>

#include "common/failure.h"

namespace tly::agent {
namespace {

constexpr const char* kClientVariable = "QPX_CLIENT_SO";

constexpr const char* kFunctions[] = {"qpx_client_init",
                                      "qpx_client_destroy",
                                      "qpx_client_event_provider_create",
                                      "qpx_client_counter_provider_create",
                                      "qpx_client_event_provider_progress",
                                      "qpx_client_event_provider_terminate",
                                      "qpx_client_run_command"};
constexpr const char* kAdvice =
    "name the file of libqpx_client.so with --client; a name without a slash is left to the "
    "dynamic loader";

struct CloseLibrary {
  void operator()(void* handle) const { dlclose(handle); }
};
using Library = std::unique_ptr<void, CloseLibrary>;

Library find_loaded(const char* name) { return Library(dlopen(name, RTLD_LAZY | RTLD_NOLOAD)); }

}  // namespace

void choose_client(const std::string& file) { setenv(kClientVariable, file.c_str(), 1); }

void require_client(const std::string& file) {
  const bool is_taken = find_loaded(file.c_str()) != nullptr;
  const Library library(dlopen(file.c_str(), RTLD_LAZY));
  const char* const reason = library ? nullptr : dlerror();
  for (const char* const function : kFunctions) {
    if (library && dlsym(library.get(), function) == nullptr) {
      throw Failure(ExitCode::kLibrary,
                    "the remote-executor client " + file + " has no function " + function, kAdvice);
    }
  }
  if (!is_taken) {
    throw Failure(ExitCode::kLibrary,
                  "cannot load the remote-executor client: " +
                      (reason != nullptr ? std::string(reason) : file + " was not taken"),
                  kAdvice);
  }
}

bool has_client() {
  const Library program(dlopen(nullptr, RTLD_LAZY));
  const link_map* object = nullptr;
  if (!program || dlinfo(program.get(), RTLD_DI_LINKMAP, &object) != 0) {
    return false;
  }
  for (; object != nullptr; object = object->l_next) {
    const bool has_name = object->l_name != nullptr && *object->l_name != '\0';
    const Library library = has_name ? find_loaded(object->l_name) : nullptr;
    if (library && dlsym(library.get(), "qpx_client_init") != nullptr) {
      return true;
    }
  }
  return false;
}

}  // namespace tly::agent
