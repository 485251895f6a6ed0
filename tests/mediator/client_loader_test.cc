#include "mediator/client_loader.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <filesystem>

#include "log_capture.h"
#include "scripted_client/recorded_calls.h"

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using tly::GrpcHandler;
using tly::test::LogCapture;
using tly::test::LogLine;
using tly::test::RecordedCalls;
using tly::test::ScopedEnv;
using tly::test::TemporaryDirectory;

using Lines = std::vector<LogLine>;

const std::string kPrefix = "[RPE mediator provider]";
const std::string kDefaultDirectory = "/opt/velmora/tallyra/lib/";
const Lines kLooking = {{6, kPrefix + " Looking for libqpx_client.so in:"},
                        {6, kPrefix + " \t\t\t\t 'QPX_CLIENT_SO'"}};

Lines operator+(Lines lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

Lines deployed(const std::string& root) { return {{6, "deploy_path = " + root + " (TLY_ROOT)"}}; }

Lines missing(const std::string& path) {
  return {{4, "failed to open library " + path + ": " + path +
                  ": cannot open shared object file: No such file or directory"}};
}

Lines missing_everywhere(const std::string& search_path, const std::string& directory) {
  return Lines{{6, kPrefix + " \t\t\t\t LD_LIBRARY_PATH=" + search_path}} +
         missing("libqpx_client.so") + Lines{{6, kPrefix + " \t\t\t\t '" + directory + "'"}} +
         missing(directory + "libqpx_client.so");
}

Lines dump(const std::string& client_path, const std::string& search_path) {
  return {
      {6, kPrefix + " Cannot find 'libqpx_client.so'. Dumping env variables."},
      {6, "\tQPX_CLIENT_SO=" + client_path},
      {6, "\tLD_LIBRARY_PATH=" + search_path},
      {6, kPrefix + " Could not load QPX client. please set QPX_CLIENT_SO with the library path"}};
}

// The handle of a library that is loaded, or null.
void* handle_of(const std::string& library) {
  void* const handle = dlopen(library.c_str(), RTLD_LAZY | RTLD_NOLOAD);
  if (handle != nullptr) {
    dlclose(handle);
  }
  return handle;
}

Lines loaded(const std::string& library, const std::string& path, const std::string& source) {
  char handle[32];
  snprintf(handle, sizeof handle, "%p", handle_of(library));
  return {{6, std::string("opened API lib: handle=") + handle + " from path=" + path},
          {6, kPrefix + " Loaded 'libqpx_client.so' from " + source}};
}

class ClientLoader : public testing::Test {
 protected:
  RecordedCalls calls_;
  ScopedEnv client_path_{"QPX_CLIENT_SO", nullptr};
  ScopedEnv search_path_{"LD_LIBRARY_PATH", "/some/where"};
  ScopedEnv root_{"TLY_ROOT", nullptr};
};

TEST_F(ClientLoader, TakesTheLibraryThatTheVariableNamesAndGivesItBack) {
  const ScopedEnv path("QPX_CLIENT_SO", SCRIPTED_CLIENT);
  const LogCapture log;
  {
    const GrpcHandler handler;
    EXPECT_TRUE(handler.connected());
    EXPECT_THAT(log.lines(), ElementsAreArray(kLooking + loaded(SCRIPTED_CLIENT, SCRIPTED_CLIENT,
                                                                SCRIPTED_CLIENT)));
    EXPECT_THAT(calls_.lines(), ElementsAre("init"));
  }
  EXPECT_THAT(calls_.lines(), ElementsAre("init", "destroy ctx=given"));
  EXPECT_EQ(handle_of(SCRIPTED_CLIENT), nullptr);
}

TEST_F(ClientLoader, FallsBackToTheLoadersOwnSearch) {
  // The loader's path is fixed when a process starts, but a library that is already there is found
  // by its bare name.
  void* const present = dlopen(SCRIPTED_CLIENT, RTLD_LAZY);
  const ScopedEnv path("QPX_CLIENT_SO", "/nowhere/client.so");
  const LogCapture log;
  EXPECT_TRUE(GrpcHandler().connected());
  EXPECT_THAT(log.lines(),
              ElementsAreArray(kLooking + missing("/nowhere/client.so") +
                               Lines{{6, kPrefix + " \t\t\t\t LD_LIBRARY_PATH=/some/where"}} +
                               loaded(SCRIPTED_CLIENT, "libqpx_client.so", "LD_LIBRARY_PATH")));
  dlclose(present);
}

TEST_F(ClientLoader, FallsBackToTheInstallRoot) {
  const TemporaryDirectory root;
  const std::string directory = root.path().string() + "/lib/";
  const std::string library = directory + "libqpx_client.so";
  std::filesystem::create_directory(directory);
  std::filesystem::copy_file(SCRIPTED_CLIENT, library);
  const ScopedEnv root_variable("TLY_ROOT", root.path().c_str());
  const LogCapture log;
  const GrpcHandler handler;
  EXPECT_TRUE(handler.connected());
  Lines expected = deployed(root.path()) + kLooking + missing_everywhere("/some/where", directory);
  expected.pop_back();
  EXPECT_THAT(log.lines(), ElementsAreArray(expected + loaded(library, library, directory)));
}

TEST_F(ClientLoader, ReportsEveryPlaceWhenThereIsNoLibrary) {
  const struct {
    const char* root;
    const char* client_path;
    const char* search_path;
    Lines expected;
  } cases[] = {
      {nullptr, nullptr, nullptr,
       kLooking + missing_everywhere("", kDefaultDirectory) + dump("", "")},
      {"", "", "", deployed("") + kLooking + missing_everywhere("", "/lib/") + dump("", "")},
      {"/no", "/no/client.so", "/where",
       deployed("/no") + kLooking + missing("/no/client.so") +
           missing_everywhere("/where", "/no/lib/") + dump("/no/client.so", "/where")},
  };
  for (const auto& c : cases) {
    const ScopedEnv root("TLY_ROOT", c.root);
    const ScopedEnv path("QPX_CLIENT_SO", c.client_path);
    const ScopedEnv search_path("LD_LIBRARY_PATH", c.search_path);
    const LogCapture log;
    EXPECT_FALSE(GrpcHandler().connected());
    EXPECT_THAT(log.lines(), ElementsAreArray(c.expected));
  }
}

TEST_F(ClientLoader, ClosesALibraryThatIsOfNoUse) {
  const struct {
    const char* library;
    std::string error;
    std::vector<std::string> calls;
    const char* init = nullptr;
  } cases[] = {
      {SCRIPTED_CLIENT_INCOMPLETE,
       kPrefix + " Could not load 'qpx_client_run_command': " SCRIPTED_CLIENT_INCOMPLETE
                 ": undefined symbol: qpx_client_run_command",
       {}},
      {SCRIPTED_CLIENT_UNCONNECTED, kPrefix + " Could not create a QPX context", {"init"}},
      {SCRIPTED_CLIENT, kPrefix + " Could not create a QPX context", {"init"}, "throw"},
  };
  for (const auto& c : cases) {
    calls_.clear();
    const ScopedEnv path("QPX_CLIENT_SO", c.library);
    const ScopedEnv init("SCRIPTED_CLIENT_INIT", c.init);
    const LogCapture log;
    {
      const GrpcHandler handler;
      EXPECT_FALSE(handler.connected());
      EXPECT_NE(handle_of(c.library), nullptr);
    }
    EXPECT_THAT(log.texts(3), ElementsAre(c.error));
    EXPECT_EQ(log.lines().size(), 5u);
    EXPECT_EQ(calls_.lines(), c.calls);
    EXPECT_EQ(handle_of(c.library), nullptr);
  }
}

TEST_F(ClientLoader, FetchesTheLoadersErrorOnlyForAnEnabledMessage) {
  for (const unsigned level : {3u, 4u}) {
    dlerror();
    const LogCapture log(level);
    const GrpcHandler handler;
    EXPECT_EQ(dlerror() != nullptr, level == 3);
  }
}

}  // namespace
