#include "host/plugin.h"

#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "common/failure.h"

namespace tly::agent {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLibraryName = "libvintor_provider.so";
constexpr const char* kLibraryVariable = "TALLYRA_LIBRARY";

// Directories relative to the executable's: as installed, and as built.
constexpr const char* kSearchedDirectories[] = {".", TALLYRA_LIBRARY_DIRECTORY, "../lib",
                                                "../src/plugin"};

std::string dlerror_text() {
  const char* const text = dlerror();
  return text != nullptr ? text : "unknown error of the dynamic loader";
}

// The library beside the executable, or the bare name, which the dynamic loader searches for.
std::string default_library() {
  std::error_code error;
  const fs::path executable = fs::read_symlink("/proc/self/exe", error);
  for (const char* directory : kSearchedDirectories) {
    fs::path candidate = (executable.parent_path() / directory / kLibraryName).lexically_normal();
    if (!error && fs::exists(candidate, error)) {
      return candidate.string();
    }
    error.clear();
  }
  return kLibraryName;
}

std::string chosen_library(const std::string& requested) {
  if (!requested.empty()) {
    return requested;
  }
  const char* const from_environment = std::getenv(kLibraryVariable);
  return from_environment != nullptr && *from_environment != '\0' ? from_environment
                                                                  : default_library();
}

std::string loaded_path(void* handle, const std::string& name) {
  link_map* map = nullptr;
  const bool is_known = dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 && map->l_name != nullptr;
  return is_known && *map->l_name != '\0' ? map->l_name : name;
}

}  // namespace

void Plugin::Unload::operator()(void* handle) const { dlclose(handle); }

Plugin::Plugin(const std::string& requested) {
  const std::string name = chosen_library(requested);
  handle_.reset(dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!handle_) {
    throw Failure(ExitCode::kLibrary, "cannot load the library: " + dlerror_text(),
                  std::string("build or install ") + kLibraryName +
                      ", or name it with --library PATH or in " + kLibraryVariable);
  }
  path_ = loaded_path(handle_.get(), name);
#define TALLYRA_AGENT_RESOLVE(name) resolve(name, #name);
  TALLYRA_AGENT_FUNCTIONS(TALLYRA_AGENT_RESOLVE)
#undef TALLYRA_AGENT_RESOLVE
}

template <typename Function>
void Plugin::resolve(Function& function, const char* name) {
  void* const address = dlsym(handle_.get(), name);
  if (address == nullptr) {
    throw Failure(ExitCode::kLibrary, path_ + " has no function " + name,
                  std::string("it is not ") + kLibraryName +
                      " or does not match this agent: name another one with --library PATH");
  }
  function = reinterpret_cast<Function>(address);
}

}  // namespace tly::agent
