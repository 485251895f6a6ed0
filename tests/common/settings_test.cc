#include "tallyra/settings.h"

#include <gtest/gtest.h>

#include "common/settings_number.h"
#include "environment.h"
#include "log_capture.h"

namespace tly::test {
namespace {

TEST(Settings, ThePrefixedNameWinsAndTheChoiceIsLogged) {
  const auto expect_lookup = [](const char* prefixed_value, const char* plain_value,
                                const char* value, const std::vector<LogLine>& messages) {
    const ScopedEnv prefixed("TLY_LIMIT", prefixed_value);
    const ScopedEnv plain("LIMIT", plain_value);
    for (const char* name : {"LIMIT", "TLY_LIMIT"}) {
      const LogCapture log;
      EXPECT_STREQ(tly_getenv(name), value);
      EXPECT_EQ(log.lines(), messages);
    }
  };
  const std::string conflict = "[tly_getenv] Environment variables conflict - TLY_LIMIT=";
  const LogLine conflict_of_1{4, conflict + "1 and LIMIT=2. Using TLY_LIMIT"};
  const LogLine conflict_of_empty{4, conflict + " and LIMIT=2. Using TLY_LIMIT"};
  const std::string using_prefixed = "[tly_getenv] Using 'TLY_LIMIT'='";
  expect_lookup(nullptr, nullptr, nullptr,
                {{7, "[tly_getenv] No value for 'TLY_LIMIT' or 'LIMIT'"}});
  expect_lookup(nullptr, "2", "2", {{7, "[tly_getenv] Using 'LIMIT'='2'"}});
  expect_lookup("2", "2", "2", {{7, using_prefixed + "2'"}});
  expect_lookup("1", "2", "1", {conflict_of_1, {7, using_prefixed + "1'"}});
  expect_lookup("", "2", "", {conflict_of_empty, {7, using_prefixed + "'"}});
}

TEST(Settings, NamesMayHaveAnyLengthAndALowerCasePrefixIsNone) {
  for (const std::string& name : {std::string("tly_limit"), std::string(5000, 'N')}) {
    const ScopedEnv prefixed("TLY_" + name, "found");
    EXPECT_STREQ(tly_getenv(name.c_str()), "found");
  }
}

TEST(Settings, BooleansAndNumbersAreReadFromTheBeginningOfTheText) {
  const auto as_boolean = [](const char* text, bool default_value) {
    const ScopedEnv variable("SETTING", text);
    return tly_getenv_bool("SETTING", default_value);
  };
  EXPECT_TRUE(as_boolean("Yes", false) && as_boolean("True", false) && as_boolean("1abc", false));
  EXPECT_FALSE(as_boolean("0", true) || as_boolean("off", true) || as_boolean(" yes", true));
  EXPECT_TRUE(as_boolean("", true) && as_boolean(nullptr, true));
  EXPECT_FALSE(as_boolean("", false) || as_boolean(nullptr, false));

  const auto as_number = [](const char* text) {
    const ScopedEnv variable("SETTING", text);
    return setting_as_int32("SETTING", 30);
  };
  EXPECT_EQ(as_number(" \t-7 seconds"), -7);
  EXPECT_EQ(as_number("+8x"), 8);
  EXPECT_EQ(as_number("0x1F"), 0);
  EXPECT_EQ(as_number("-2147483648"), INT32_MIN);
  for (const char* text : {"", "-", "abc", "2147483648", "-2147483649", "99999999999999999999"}) {
    EXPECT_EQ(as_number(text), 30) << text;
  }
}

}  // namespace
}  // namespace tly::test
