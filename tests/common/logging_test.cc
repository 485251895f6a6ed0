#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <barrier>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <thread>

#include "common/log.h"
#include "common/owned.h"
#include "common/rate_limited_log.h"
#include "environment.h"
#include "log_capture.h"

static std::atomic<bool> mutex_initialisation_fails = false;
static std::atomic<int> mutexes_initialised = 0;
static std::string last_syslog_message;  // priority and text

// These take the calls of this program, and of the library in it, from the C library.
extern "C" int __real_pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*);
extern "C" int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* type) {
  if (mutex_initialisation_fails) {
    return ENOMEM;
  }
  ++mutexes_initialised;
  return __real_pthread_mutex_init(mutex, type);
}
extern "C" void __wrap_vsyslog(int priority, const char* format, va_list arguments) {
  char text[256];
  vsnprintf(text, sizeof(text), format, arguments);
  last_syslog_message = std::to_string(priority) + " " + text;
}
// What becomes of the call where the C library checks its buffers.
extern "C" void __wrap___vsyslog_chk(int priority, int, const char* format, va_list arguments) {
  __wrap_vsyslog(priority, format, arguments);
}

namespace tly::test {
namespace {

using Texts = std::vector<std::string>;
using Context = Owned<tly_logger_ctx_t, &tly_destroy_logger_ctx>;

constexpr char kNoSetting[] =
    "[debug] [tly_getenv] No value for 'TLY_LOG_THREAD_SAFE' or 'LOG_THREAD_SAFE'";

// The lines of a log without their timestamps, whose form is checked.
Texts lines_of(std::istream& log) {
  Texts texts;
  for (std::string line; std::getline(log, line);) {
    int part[7];
    int end = 0;
    sscanf(line.c_str(), "[%4d-%2d-%2d %2d:%2d:%2d.%3d] %n", part, part + 1, part + 2, part + 3,
           part + 4, part + 5, part + 6, &end);
    EXPECT_EQ(end, 26) << line;
    texts.push_back(line.substr(std::min<size_t>(line.size(), 26)));
  }
  return texts;
}

Texts lines_of_file(const std::string& path) {
  std::ifstream file(path);
  return lines_of(file);
}

template <typename Action>
Texts lines_on_stderr(Action action) {
  testing::internal::CaptureStderr();
  action();
  std::istringstream log(testing::internal::GetCapturedStderr());
  return lines_of(log);
}

TEST(Logging, TheFirstCallTakesTheLevelFromTheEnvironment) {
  const auto expect_level = [](const char* prefixed_value, const char* plain_value, uint32_t level,
                               const Texts& expected) {
    const ScopedEnv prefixed("TLY_API_LOG_LEVEL", prefixed_value);
    const ScopedEnv plain("API_LOG_LEVEL", plain_value);
    tly_log_level = TLY_LOG_LEVEL_UNSET;
    const Texts lines = lines_on_stderr([] {
      errno = ENOENT;
      TLY_LOG_ERROR("%s", std::strerror(errno));
    });
    EXPECT_EQ(tly_log_level, level);
    EXPECT_EQ(lines, expected);
  };
  const std::string error = "[error] No such file or directory";
  expect_level("7", "3", 7, {kNoSetting, error});
  expect_level(nullptr, "3", 3, {error});
  for (const char* text : {static_cast<const char*>(nullptr), "abc", "-1", "-2", "99999999999"}) {
    expect_level(text, nullptr, 0, {});
  }
  expect_level("", "7", 0, {});
}

TEST(Logging, AFileLoggerReplacesTheOldSinkAndClosingReturnsToStandardError) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("log", "old content");
  const Texts on_stderr = lines_on_stderr([&] {
    tly_init_stderr_logger(7);
    EXPECT_TRUE(tly_init_file_logger(path.c_str(), 6));
    EXPECT_NE(fcntl(fileno(Context(tly_get_logger_ctx())->stream), F_GETFD) & FD_CLOEXEC, 0);
    for (const int level : {3, 4, 5, 6, 7}) {
      TLY_LOG(level, "level %d", level);
    }
    EXPECT_EQ(tly_set_log_level(7), 6u);
    TLY_LOG_DEBUG("last");
    tly_close_logger();
    EXPECT_FALSE(tly_init_file_logger((path + "/impossible").c_str(), 4));
    TLY_LOG_WARNING("fallen back");
  });
  EXPECT_EQ(lines_of_file(path), (Texts{"[error] level 3", "[warning] level 4", "level 5",
                                        "[info] level 6", "[debug] last"}));
  // At the old level: the start, two closings, and the one that precedes the failed opening.
  EXPECT_EQ(on_stderr,
            (Texts{kNoSetting, kNoSetting, kNoSetting, kNoSetting, "[warning] fallen back"}));
  EXPECT_TRUE(tly_init_file_logger(path.c_str(), 7));
  EXPECT_EQ(lines_of_file(path), Texts{kNoSetting}) << "the new level holds from the start";
  tly_close_logger();
}

TEST(Logging, TheMutexIsUsedUnlessTheEnvironmentOrTheSystemDenyIt) {
  const LogLine disabled{7,
                         "[logger] [_tly_init_logger_mutex] Thread safety is disabled by "
                         "environment variable TLY_LOG_THREAD_SAFE"};
  const LogLine failed{3, "[logger] [_tly_init_logger_mutex] failed to initialize logger mutex"};
  const LogLine unsafe{
      7, "[logger] [tly_init_stderr_logger] Initialized logger without thread-safety"};
  const auto expect_mutex = [](const std::string& setting, const std::vector<LogLine>& expected) {
    const ScopedEnv variable("TLY_LOG_THREAD_SAFE", setting.c_str());
    tly_logger_cleanup_mutex_exit_handler();
    const LogCapture log;
    EXPECT_TRUE(tly_init_stderr_logger(7));
    EXPECT_EQ(Context(tly_get_logger_ctx())->mutex != nullptr, expected.empty()) << setting;
    std::vector<LogLine> lines = {
        {7, "[tly_getenv] Using 'TLY_LOG_THREAD_SAFE'='" + setting + "'"}};
    lines.insert(lines.end(), expected.begin(), expected.end());
    EXPECT_EQ(log.lines(), lines);
  };
  for (const char* setting : {"Yes", "", "1abc"}) {
    expect_mutex(setting, {});
  }
  expect_mutex("no", {disabled, unsafe});
  expect_mutex("0", {disabled, unsafe});
  mutex_initialisation_fails = true;
  expect_mutex("1", {failed, unsafe});
  mutex_initialisation_fails = false;
}

std::string received;
void receive(int level, const char* format, ...) { received = std::to_string(level) + format; }

TEST(Logging, ALogFunctionReceivesTheRawMessageAndSurvivesClosing) {
  const Texts on_stderr = lines_on_stderr([] {
    tly_set_log_func(&receive, 4);
    tly_close_logger();
    TLY_LOG_WARNING("%d of %s", 1, "x");
    TLY_LOG_INFO("not admitted");
    tly_set_log_func(nullptr, 3);
    TLY_LOG_ERROR("to the stream");
  });
  EXPECT_EQ(received, "4%d of %s");
  EXPECT_EQ(on_stderr, Texts{"[error] to the stream"});
}

TEST(Logging, ASyslogLoggerPassesThePriorityUnchanged) {
  EXPECT_TRUE(tly_init_syslog_logger("common_test", 6));
  TLY_LOG(5, "%s", "hello");
  EXPECT_EQ(last_syslog_message, "5 hello");
  EXPECT_EQ(Context(tly_get_logger_ctx())->stream, nullptr);
  tly_close_logger();
  EXPECT_EQ(Context(tly_get_logger_ctx())->kind, static_cast<uint32_t>(TLY_LOGGER_STDERR));
}

TEST(Logging, BytesAreDumpedInLinesOfSixteen) {
  const char bytes[] = "ABCDEFGHIJKLMNOP\x7F";
  const std::string full = "41 42 43 44 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50  |  ABCDEFGHIJKLMNOP ";
  const LogCapture log;
  log_hex(bytes, 0);
  log_hex(bytes, 17);
  log_hex("abc", 3);
  log_hex(bytes, 9);
  tly_set_log_level(6);
  log_hex(bytes, 17);
  EXPECT_EQ(log.texts(7), (Texts{full, "7F " + std::string(47, ' ') + "|  . ",
                                 "61 62 63 " + std::string(41, ' ') + "|  abc ",
                                 full.substr(0, 28) + std::string(22, ' ') + "|  ABCDEFGHI "}));
}

TEST(Logging, TheFirstCallsOfSeveralThreadsInitialiseOneMutex) {
  const ScopedEnv level("TLY_API_LOG_LEVEL", "7");
  std::barrier start(3);
  const auto log_line = [&] {
    start.arrive_and_wait();
    TLY_LOG_INFO("line");
  };
  tly_logger_cleanup_mutex_exit_handler();
  tly_log_level = TLY_LOG_LEVEL_UNSET;
  mutexes_initialised = 0;
  const Texts lines = lines_on_stderr([&] {
    std::thread first(log_line);
    std::thread second(log_line);
    log_line();
    first.join();
    second.join();
  });
  EXPECT_EQ(mutexes_initialised, 1);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "[info] line"), 3);
}

TEST(Logging, RegistrationNeedsAnotherUsableConfiguration) {
  tly_init_stderr_logger(3);
  EXPECT_TRUE(tly_register_logger(Context(tly_get_logger_ctx()).get()));
  EXPECT_FALSE(is_registered) << "an equal configuration changes nothing";
  tly_logger_ctx_t ctx = {TLY_LOGGER_FUNC, nullptr, nullptr, 7, nullptr};
  EXPECT_FALSE(tly_register_logger(nullptr));
  EXPECT_FALSE(tly_register_logger(&ctx)) << "no function";
  ctx = {TLY_LOGGER_FILE, nullptr, nullptr, TLY_LOG_LEVEL_UNSET, nullptr};
  EXPECT_FALSE(tly_register_logger(&ctx)) << "no level";
  EXPECT_FALSE(is_registered);
}

TEST(Logging, RegistrationHandsTheSinkToTheHostForGood) {
  const TemporaryDirectory directory;
  static pthread_mutex_t host_mutex = PTHREAD_MUTEX_INITIALIZER;
  static std::string written;
  static bool mutex_was_held = true;
  const auto write = [](void*, const char* text, size_t size) {
    mutex_was_held = mutex_was_held && pthread_mutex_trylock(&host_mutex) != 0;
    written.append(text, size);
    return static_cast<ssize_t>(size);
  };
  const Owned<FILE, &fclose> stream(fopencookie(nullptr, "w", {nullptr, write, nullptr, nullptr}));
  const tly_logger_ctx_t ctx = {TLY_LOGGER_FILE, stream.get(), nullptr, 7, &host_mutex};
  EXPECT_TRUE(tly_register_logger(&ctx));
  EXPECT_TRUE(is_registered);
  const std::string path = directory.path() / "log";
  EXPECT_FALSE(tly_init_file_logger(path.c_str(), 7));
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_FALSE(tly_init_syslog_logger("x", 7));
  EXPECT_FALSE(tly_init_stderr_logger(7));
  tly_close_logger();
  tly_logger_cleanup_mutex_exit_handler();
  EXPECT_EQ(Context(tly_get_logger_ctx())->mutex, &host_mutex);
  std::istringstream log(written);
  const std::string refusal = " registered logger cannot initialize logger";
  EXPECT_EQ(lines_of(log),
            (Texts{"[debug] [logger] [tly_init_file_logger]" + refusal,
                   "[debug] [logger] [tly_init_syslog_logger]" + refusal,
                   "[debug] [logger] [tly_init_stderr_logger]" + refusal,
                   "[debug] [logger] [tly_close_logger] tried closing a registered logger, "
                   "skipping closure"}));
  EXPECT_TRUE(mutex_was_held);
  __tly_init_logger_default();
  EXPECT_EQ(tly_log_level, 7u);
  tly_set_log_level(0);
}

TEST(Logging, ARegisteredHostWithoutStreamOrLevelStillHasBoth) {
  const tly_logger_ctx_t ctx = {TLY_LOGGER_FILE, nullptr, nullptr, 7, nullptr};
  EXPECT_TRUE(tly_register_logger(&ctx));
  EXPECT_EQ(lines_on_stderr([] { TLY_LOG_ERROR("no stream"); }), Texts{"[error] no stream"});
  tly_set_log_level(TLY_LOG_LEVEL_UNSET);
  TLY_LOG_ERROR("level from the environment");
  EXPECT_EQ(tly_log_level, 0u);
}

TEST(RateLimitedLog, AMessageIsIssuedAgainOnlyAfterTenSeconds) {
  LastIssuedUs last_issued_us{0};
  const LogCapture log(TLY_LOG_LEVEL_WARNING);
  const auto issue_twice = [&](int level) {
    TLY_LOG_RATE_LIMITED(last_issued_us, level, "tool failed %d", 1);
    TLY_LOG_RATE_LIMITED(last_issued_us, level, "tool failed %d", 1);
    return log.count(level, "tool failed 1");
  };
  EXPECT_EQ(issue_twice(TLY_LOG_LEVEL_INFO), 0u);
  EXPECT_EQ(last_issued_us, 0u) << "the level was not enabled";
  EXPECT_EQ(issue_twice(TLY_LOG_LEVEL_WARNING), 1u);
  last_issued_us -= 9'000'000;
  EXPECT_EQ(issue_twice(TLY_LOG_LEVEL_WARNING), 1u);
  last_issued_us -= 1'000'000;
  EXPECT_EQ(issue_twice(TLY_LOG_LEVEL_WARNING), 2u);
}

}  // namespace
}  // namespace tly::test
