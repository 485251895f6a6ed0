#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "environment.h"
#include "tallyra/logging.h"
#include "tallyra/version.h"
#include "tallyra/vintor_provider.h"

namespace {

using tly::test::ScopedEnv;
using tly::test::TemporaryDirectory;

bool is_mapped(const std::string& file_name) {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.ends_with(file_name)) {
      return true;
    }
  }
  return false;
}

void* load() { return dlopen(VINTOR_PROVIDER_LIBRARY, RTLD_NOW | RTLD_LOCAL); }

template <typename Function>
Function* symbol(void* library, const char* name) {
  return reinterpret_cast<Function*>(dlsym(library, name));
}

// A directory of commands that stand in for those the provider runs.
class Commands {
 public:
  Commands() : path_("PATH", (directory_.path().string() + ":" + std::getenv("PATH")).c_str()) {
    script("ls", "exit 0");
    script("python3", "echo '=== pmc_res === {\"cpu0\": {\"cycles\": 7}}'");
  }

 private:
  void script(const std::string& name, const std::string& body) {
    const auto file = directory_.write(name, "#!/bin/sh\n" + body + "\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
  }

  TemporaryDirectory directory_;
  ScopedEnv path_;
};

class Unload : public testing::Test {
 protected:
  // The sanitizers' own libraries keep what was loaded alive, so a mapping proves nothing there.
  void expect_unloaded() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_FALSE(is_mapped("libvintor_provider.so"));
#endif
  }
};

TEST_F(Unload, LeavesNothingMappedAfterUse) {
  const Commands commands;
  const ScopedEnv level("TLY_API_LOG_LEVEL", "0");
  void* const library = load();
  ASSERT_NE(library, nullptr) << dlerror();
  EXPECT_TRUE(is_mapped("libvintor_provider.so"));
  EXPECT_STREQ(symbol<decltype(tly_version_string)>(library, "tly_version_string")(), "1.21.1");

  tly_provider_t* const provider =
      symbol<decltype(construct_counter_provider)>(library, "construct_counter_provider")(nullptr);
  ASSERT_NE(provider, nullptr);
  provider->provider_finalize(provider);

  ASSERT_EQ(dlclose(library), 0);
  expect_unloaded();
}

TEST_F(Unload, EndsASamplingThreadThatTheHostForgot) {
  const Commands commands;
  const ScopedEnv interval("TLY_VINTOR_SAMPLE_INTERVAL_NSEC", "10000000");
  void* const library = load();
  ASSERT_NE(library, nullptr) << dlerror();
  ASSERT_NE(
      symbol<decltype(construct_counter_provider)>(library, "construct_counter_provider")(nullptr),
      nullptr);
  ASSERT_EQ(dlclose(library), 0);
  expect_unloaded();
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
    std::ifstream stream(log);
    const std::string text((std::istreambuf_iterator<char>(stream)), {});
    EXPECT_NE(text.find("[error] round " + std::to_string(round) + "\n"), std::string::npos);
  }
}

}  // namespace
