#include "tallyra/string_utils.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "common/owned.h"
#include "log_capture.h"

namespace tly::test {
namespace {

// The number as text, or "none"; a failed conversion must not write its output.
template <typename Number>
std::string number(bool (*convert)(const char*, Number*), const char* text) {
  Number value = 77;
  const bool succeeds = convert(text, &value);
  EXPECT_TRUE(succeeds || value == 77) << text;
  return succeeds ? std::to_string(value) : "none";
}

// The text of a new string, which is freed; "(null)" for null.
std::string taken(char* text) {
  const OwnedString owned(text);
  return owned != nullptr ? owned.get() : "(null)";
}

TEST(NumberConversion, TakesTheWholeTextOrNothing) {
  EXPECT_EQ(number(string_to_long, "0x1F"), "31");
  EXPECT_EQ(number(string_to_long, "017"), "15");
  EXPECT_EQ(number(string_to_long, " 42"), "42");
  EXPECT_EQ(number(string_to_long_long, "-9223372036854775808"), "-9223372036854775808");
  for (const char* text : {"42 ", "", " ", "abc", "12abc", "9223372036854775808",
                           "-9223372036854775809", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(number(string_to_long, text), "none");
  }
  EXPECT_EQ(number(string_to_u64, "-1"), "18446744073709551615");
  EXPECT_EQ(number(string_to_u64, "18446744073709551616"), "none");
  EXPECT_EQ(number(string_to_u8, "255"), "255");
  EXPECT_EQ(number(string_to_u8, "256"), "none");
  EXPECT_EQ(number(string_to_u16, "65535"), "65535");
  EXPECT_EQ(number(string_to_u16, "65536"), "none");
  EXPECT_EQ(number(string_to_u32, "4294967295"), "4294967295");
  EXPECT_EQ(number(string_to_u32, "4294967296"), "none");
  EXPECT_EQ(number(string_to_u32, "-1"), "none");
  EXPECT_EQ(number(string_to_unsigned_long, "18446744073709551615"), "18446744073709551615");
  EXPECT_EQ(number(string_to_sizet, "18446744073709551615"), "18446744073709551615");

  int32_t bounded = 77;
  EXPECT_FALSE(bounded_string_to_int("2147483648", 10, &bounded));
  EXPECT_FALSE(bounded_string_to_int("-2147483649", 11, &bounded));
  EXPECT_EQ(bounded, 77);
  EXPECT_TRUE(bounded_string_to_int("12345", 3, &bounded));
  EXPECT_EQ(bounded, 123);
  EXPECT_TRUE(bounded_string_to_int("-2147483648", SIZE_MAX, &bounded));
  EXPECT_EQ(bounded, INT32_MIN);
}

TEST(StringUtils, ReadsBooleansAndGuids) {
  for (const char* text : {static_cast<const char*>(nullptr), "1", "true", "True"}) {
    EXPECT_TRUE(tly_string_to_boolean(text));
  }
  for (const char* text : {"1 ", "TRUE", "yes", "0", ""}) {
    EXPECT_FALSE(tly_string_to_boolean(text)) << text;
  }
  EXPECT_STREQ(boolean_to_string(true), "true");
  EXPECT_STREQ(boolean_to_string(false), "false");
  EXPECT_EQ(hex_char_to_int('f') * 16 + hex_char_to_int('A'), 0xFA);
  EXPECT_EQ(hex_char_to_int('g'), -1);
  const std::string most = "00112233-4455-6677-8899-aAbBcCdDeE";
  uint8_t guid[17] = {};
  for (const char* end : {"", "F", "Ff11", "Ffg"}) {
    EXPECT_FALSE(string_to_guid((most + end).c_str(), guid)) << end;
    EXPECT_EQ(guid[16], 0) << "written past the end";
  }
  for (const char* text :
       {static_cast<const char*>(nullptr), "", "0g112233445566778899aabbccddeeff"}) {
    EXPECT_FALSE(string_to_guid(text, guid));
  }
  EXPECT_TRUE(string_to_guid((most + "F-f-1").c_str(), guid));
  for (unsigned i = 0; i < 16; ++i) {
    EXPECT_EQ(guid[i], i * 0x11);
  }
}

TEST(StringUtils, BuildsNewStringsAndTrimsInPlace) {
  EXPECT_EQ(taken(tly_expand_string_template("%s-%5d", "a", 7)), "a-    7");
  EXPECT_EQ(taken(string_concat("a", "b")), "ab");
  EXPECT_EQ(taken(string_concat_comma_separated_token(nullptr, "a")), "a");
  EXPECT_EQ(taken(string_concat_comma_separated_token("", "b")), "b");
  EXPECT_EQ(taken(string_concat_comma_separated_token("a", "b")), "a,b");
  for (const char* path : {"/usr/bin/tool", "tool", "/tool"}) {
    EXPECT_EQ(taken(get_allocated_basename(path)), "tool");
  }
  EXPECT_EQ(taken(get_allocated_basename("dir/")) + taken(get_allocated_basename("/")), "");
  EXPECT_EQ(get_allocated_basename(""), nullptr);
  char padded[] = "  a b\t\n";
  EXPECT_STREQ(trim_white_space(padded), "a b");
  char blank[] = "   ";
  EXPECT_STREQ(trim_white_space(blank), "");
}

TEST(StringUtils, FailuresAreReported) {
  const LogCapture log;
  // A wide character that the C locale cannot express makes the measuring fail.
  EXPECT_EQ(tly_expand_string_template("%lc", static_cast<wint_t>(0x20AC)), nullptr);
  size_t position = 0;
  EXPECT_FALSE(find_ith_substr("a", "a", 0, nullptr));
  EXPECT_FALSE(find_ith_substr(nullptr, "a", 0, &position));
  EXPECT_FALSE(find_ith_substr("a", nullptr, 0, &position));
  const std::vector<std::string> expected = {
      "Failed to calculate length of expanded string template", "[find_ith_substr] invalid input",
      "[find_ith_substr] invalid input", "[find_ith_substr] invalid input"};
  EXPECT_EQ(log.texts(3), expected);
}

TEST(StringUtils, FindsOccurrencesSuffixesAndPairs) {
  size_t position = 99;
  EXPECT_TRUE(find_ith_substr("aaaa", "aa", 2, &position));
  EXPECT_EQ(position, 2u);
  EXPECT_TRUE(find_ith_substr("ab", "", 1, &position));
  EXPECT_EQ(position, 1u);
  EXPECT_FALSE(find_ith_substr("aaaa", "aa", 3, &position));
  EXPECT_FALSE(find_ith_substr("", "", 0, &position));
  EXPECT_TRUE(tly_string_ends_with("file.so", ".so") && tly_string_ends_with("a", ""));
  EXPECT_FALSE(tly_string_ends_with("so", ".so") || tly_string_ends_with("file.so", ".sa"));
  const tly_pair_t table[] = {{2, "two"}, {2, "zwei"}, {-1, nullptr}};
  EXPECT_STREQ(pair_get_string(table, 2), "two");
  EXPECT_EQ(pair_get_number(table, "Two"), 0xFFFFFFFF);
}

TEST(StringUtils, CopiesWithinTheirBounds) {
  char buffer[] = "########";
  EXPECT_EQ(tly_strncpy(buffer, 0, "abc", 3), 0u);
  EXPECT_EQ(tly_strncpy(buffer, 4, "abcdefghijk", 10), 3u);
  EXPECT_EQ(std::string(buffer, 5), std::string("abc\0#", 5));

  const auto visible = [](const char* source, size_t length) {
    std::string written(length, '#');
    return std::string(strncpy_visible_ascii(written.data(), source, length), length);
  };
  EXPECT_EQ(visible("ab\x01z", 8), std::string("ab\0\0\0\0\0\0", 8));
  EXPECT_EQ(visible("\x80", 3), std::string("N/\0", 3));
  EXPECT_EQ(visible("abcdef", 4), std::string("abc\0", 4));
  EXPECT_EQ(visible("", 3), std::string(3, '\0'));
  EXPECT_EQ(visible(" ~\x7F", 4), std::string(" ~\0\0", 4));
}

TEST(StringUtils, PrintsValueColumns) {
  const auto column = [](uint32_t width, int64_t value) {
    char text[64] = "";
    const Owned<FILE, &fclose> stream(fmemopen(text, sizeof(text), "w"));
    EXPECT_GT(print_si_prefixed_value(stream.get(), width, value), 0);
    fflush(stream.get());
    return std::string(text);
  };
  EXPECT_EQ(column(8, 999), "      999 |");
  EXPECT_EQ(column(8, 1500), "      1 k |");
  EXPECT_EQ(column(8, -1500), "    -1500 |");
  EXPECT_EQ(column(1, 1000), " 1 k |");
}

}  // namespace
}  // namespace tly::test
