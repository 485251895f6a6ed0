#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "../mediator/remote_side.h"
#include "scripted_client/recorded_calls.h"
#include "tallyra/logging.h"
#include "tallyra/rpe_mediator.h"
#include "tallyra/version.h"
#include "tallyra/vintor_provider.h"
#include "tool_shim.h"

namespace tly::test {
namespace {

bool is_mapped(const char* file_name) {
  return read_file("/proc/self/maps").find(file_name) != std::string::npos;
}

void* load() { return dlopen(VINTOR_PROVIDER_LIBRARY, RTLD_NOW | RTLD_LOCAL); }

template <typename Function>
Function* symbol(void* library, const char* name) {
  return reinterpret_cast<Function*>(dlsym(library, name));
}

class Unload : public testing::Test {
 protected:
  // The sanitizers' own libraries keep what was loaded alive, so a mapping proves nothing there.
  void expect_unloaded() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_FALSE(is_mapped("libvintor_provider.so") || is_mapped("libqpx_client.so"));
#endif
  }

  ToolShim shim_;
  ScopedEnv client_{"QPX_CLIENT_SO", QPX_CLIENT_LIBRARY};
};

TEST_F(Unload, LeavesNothingMappedThoughTheHostForgotTheSamplingThread) {
  const ScopedEnv interval("TLY_VINTOR_SAMPLE_INTERVAL_NSEC", "10000000");
  shim_.print("=== pmc_res === {}");
  for (const bool is_forgotten : {false, true}) {
    void* const library = load();
    ASSERT_NE(library, nullptr) << dlerror();
    EXPECT_TRUE(is_mapped("libvintor_provider.so") && is_mapped("libqpx_client.so"));
    EXPECT_STREQ(symbol<decltype(tly_version_string)>(library, "tly_version_string")(), "1.21.1");
    tly_provider_t* const provider = symbol<decltype(construct_counter_provider)>(
        library, "construct_counter_provider")(nullptr);
    ASSERT_NE(provider, nullptr);
    if (!is_forgotten) {
      provider->provider_finalize(provider);
    }
    ASSERT_EQ(dlclose(library), 0);
    expect_unloaded();
  }
}

TEST_F(Unload, ReleasesTheRemoteProvidersThatNobodyEnded) {
  const ScopedEnv client("QPX_CLIENT_SO", SCRIPTED_CLIENT);
  const RecordedCalls calls;
  void* const library = load();
  ASSERT_NE(library, nullptr) << dlerror();
  follow(SCRIPTED_CLIENT, kRemoteSide);
  tly_dict_t* const custom = symbol<decltype(tly_dict_create)>(library, "tly_dict_create")();
  symbol<decltype(tly_dict_add)>(library, "tly_dict_add")(custom, "enable-provider", "grpc.a");
  const tly_options_t options{nullptr, nullptr, custom};
  remote.options = &options;
  remote.counters["a"] = {1, COUNTERS(GROUP("g", COUNTER))};
  EXPECT_NE(symbol<decltype(rpe_mediator_construct_counter_provider)>(
                library, "rpe_mediator_construct_counter_provider")(&options),
            nullptr);
  symbol<decltype(tly_dict_delete)>(library, "tly_dict_delete")(custom);
  ASSERT_EQ(dlclose(library), 0);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  EXPECT_EQ(calls.lines(), (std::vector<std::string>{"init", "create_counters ctx=given name=a",
                                                     "destroy ctx=given"}));
#endif
}

// The exit handler that destroys the logger's mutex must run at unload: an entry left behind would
// be called in unmapped code when the process ends.
TEST_F(Unload, CanBeLoadedAgain) {
  const TemporaryDirectory directory;
  for (int round = 0; round < 3; ++round) {
    void* const library = load();
    ASSERT_NE(library, nullptr) << dlerror();
    const std::string log = directory.path() / ("log" + std::to_string(round));
    ASSERT_TRUE(symbol<decltype(tly_init_file_logger)>(library, "tly_init_file_logger")(
        log.c_str(), TLY_LOG_LEVEL_DEBUG));
    symbol<decltype(_tly_log)>(library, "_tly_log")(TLY_LOG_LEVEL_ERROR, "round %d", round);
    symbol<decltype(tly_close_logger)>(library, "tly_close_logger")();
    ASSERT_EQ(dlclose(library), 0);
    expect_unloaded();
    EXPECT_NE(read_file(log).find("[error] round " + std::to_string(round) + "\n"),
              std::string::npos);
  }
}

}  // namespace
}  // namespace tly::test
