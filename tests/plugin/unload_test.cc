#include <dlfcn.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <string>

#include "../mediator/remote_side.h"
#include "sanitizers.h"
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
  static void unload(void* library) {
    ASSERT_EQ(dlclose(library), 0);
    EXPECT_TRUE(kLibrariesStayLoaded ||
                !(is_mapped("libvintor_provider.so") || is_mapped("libqpx_client.so")));
  }

  ToolShim shim_;
  ScopedEnv client_{"QPX_CLIENT_SO", QPX_CLIENT_LIBRARY};
};

// Also the exit handler that destroys the logger's mutex must run at unload: an entry that stayed
// would be called in unmapped code when the process ends.
TEST_F(Unload, LeavesNothingMappedThoughTheHostForgotTheSamplingThread) {
  const ScopedEnv interval("TLY_VINTOR_SAMPLE_INTERVAL_NSEC", "10000000");
  const TemporaryDirectory directory;
  shim_.print("=== pmc_res === {}");
  for (const bool is_forgotten : {false, true}) {
    void* const library = load();
    ASSERT_NE(library, nullptr) << dlerror();
    EXPECT_TRUE(is_mapped("libvintor_provider.so") && is_mapped("libqpx_client.so"));
    const std::string log = directory.path() / (is_forgotten ? "second" : "first");
    ASSERT_TRUE(symbol<decltype(tly_init_file_logger)>(library, "tly_init_file_logger")(
        log.c_str(), TLY_LOG_LEVEL_ERROR));
    symbol<decltype(_tly_log)>(library, "_tly_log")(TLY_LOG_LEVEL_ERROR, "round %d", 7);
    EXPECT_STREQ(symbol<decltype(tly_version_string)>(library, "tly_version_string")(), "1.21.1");
    tly_provider_t* const provider = symbol<decltype(construct_counter_provider)>(
        library, "construct_counter_provider")(nullptr);
    ASSERT_NE(provider, nullptr);
    if (!is_forgotten) {
      provider->provider_finalize(provider);
    }
    symbol<decltype(tly_close_logger)>(library, "tly_close_logger")();
    unload(library);
    EXPECT_THAT(read_file(log), testing::EndsWith("[error] round 7\n"));
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
  unload(library);
  if (!kLibrariesStayLoaded) {
    EXPECT_THAT(calls.lines(), testing::ElementsAre("init", "create_counters ctx=given name=a",
                                                    "destroy ctx=given"));
  }
}

// The library stands for a client that links it: closing that one would unmap what closes it.
TEST_F(Unload, LeavesAClientLoadedThatNeedsTheLibrary) {
  const ScopedEnv client("QPX_CLIENT_SO", VINTOR_PROVIDER_LIBRARY);
  const auto load_and_end = [] {
    dlclose(load());
    std::exit(0);
  };
  EXPECT_EXIT(load_and_end(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace tly::test
