// What the library's functions do when they are given nothing: each is called by its name with 0
// for every argument.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdarg>
#include <fstream>
#include <sstream>
#include <string>

#include "environment.h"
#include "tallyra/logging.h"

namespace {

std::string called;    // the function
std::string messages;  // each after the name of its function

TLY_PRINTF(2, 3) void note_message(int level, const char* format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  messages += called + "    " + std::to_string(level) + " " + text + "\n";
}

// More arguments than any of them has. The lowest byte of what they return is enough: true, false,
// a null pointer or a small number.
using AnyFunction = signed char(void*, void*, void*, void*, void*, void*, void*, void*);

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
  std::string expected_result, expected_messages;
  for (std::string line, name; std::getline(file, line);) {
    if (line.starts_with("    ")) {
      expected_messages += called + line + "\n";
    } else if (line.starts_with("  ")) {
      for (std::istringstream names(line); names >> name;) {
        auto* const function = reinterpret_cast<AnyFunction*>(dlsym(library, name.c_str()));
        ASSERT_NE(function, nullptr) << name;
        called = name;
        errno = 0;
        const int result =
            function(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        EXPECT_TRUE(expected_result == "nothing" || expected_result == std::to_string(result))
            << name << " returned " << result;
      }
    } else {
      expected_result = line;
    }
  }
  set_log_func(nullptr, 0);
  EXPECT_EQ(messages, expected_messages);
  dlclose(library);
}

}  // namespace
