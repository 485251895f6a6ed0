// What the library's functions do when they are given nothing: each is called by its name with 0
// for every argument.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdarg>
#include <fstream>
#include <string>

#include "environment.h"
#include "tallyra/logging.h"

namespace {

std::string outcomes;

TLY_PRINTF(2, 3) void note_message(int level, const char* format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  outcomes += "  " + std::to_string(level) + " " + text + "\n";
}

// More arguments than any of them has. The lowest byte tells what they return: true, false, a null
// pointer or a small number.
using AnyFunction = signed char(void*, void*, void*, void*, void*, void*, void*, void*);

// The file tells the results of the functions that have one.
TEST(NullArguments, HaveTheirResultsAndMessages) {
  // The connection to a client is decided when the library is loaded.
  const tly::test::ScopedEnv no_client("QPX_CLIENT_SO", nullptr);
  const tly::test::ScopedEnv no_root("TLY_ROOT", "/no/root");
  void* const library = dlopen(VINTOR_PROVIDER_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto set_log_func =
      reinterpret_cast<decltype(&tly_set_log_func)>(dlsym(library, "tly_set_log_func"));
  set_log_func(&note_message, TLY_LOG_LEVEL_DEBUG);
  const tly::test::ScopedEnv too_late("QPX_CLIENT_SO", QPX_CLIENT_LIBRARY);
  std::ifstream file(NULL_ARGUMENTS);
  std::string expected;
  for (std::string line; std::getline(file, line);) {
    expected += line + "\n";
    if (line[0] == '#') {
      outcomes += line + "\n";
    } else if (line[0] != ' ') {
      const std::string name = line.substr(0, line.find(' '));
      auto* const function = reinterpret_cast<AnyFunction*>(dlsym(library, name.c_str()));
      ASSERT_NE(function, nullptr) << name;
      const std::size_t start = outcomes.size();
      errno = 0;
      const int result =
          function(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
      outcomes.insert(start, name + (name == line ? "" : " " + std::to_string(result)) + "\n");
    }
  }
  set_log_func(nullptr, 0);
  EXPECT_EQ(outcomes, expected);
  dlclose(library);
}

}  // namespace
