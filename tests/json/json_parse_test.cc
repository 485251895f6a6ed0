#include <gtest/gtest.h>

#include <initializer_list>

#include "environment.h"
#include "json_support.h"

namespace {

constexpr const char* kFails = "null pointer";

struct Outcome {
  const char* text;
  const char* expected;
};

void expect_refused(std::initializer_list<const char*> texts) {
  for (const char* text : texts) {
    EXPECT_EQ(parsed(text), nullptr) << text;
  }
}

void expect_outcomes(std::initializer_list<Outcome> outcomes) {
  for (const Outcome& outcome : outcomes) {
    EXPECT_EQ(reprinted(outcome.text), outcome.expected) << outcome.text;
  }
}

// Numbers are compared with those of the C library elsewhere.
TEST(JsonParse, PlainFormGivesTheFirstValueOrFails) {
  expect_refused({"",
                  " ",
                  "/",
                  "inf",
                  ".5",
                  "+1",
                  "tru",
                  "nul",
                  "True",
                  "[1e]",
                  "[,]",
                  "[1,,]",
                  "[1,,2]",
                  "[1 2]",
                  "[1}",
                  "[1",
                  "{,}",
                  R"({"a":1])",
                  R"({"a":1)",
                  R"({"a" 1})",
                  R"({"a":})",
                  "{a:1}",
                  R"({"a":1,"a":2})",
                  R"({"a":1,"\u0061":2})",
                  R"({"a\u0000":1})",
                  " \xEF\xBB\xBF{}"});
  expect_outcomes({{"{\"a\":1,}", R"({"a":1})"},
                   {"[1,]", "[1]"},
                   {"{\"a\":{\"a\":1},\"b\":{\"a\":1}}", R"({"a":{"a":1},"b":{"a":1}})"},
                   {R"({"":[],"\n":{}})", R"({"":[],"\n":{}})"},
                   {"1 x", "1"},
                   {"{} }", "{}"},
                   {"\xEF\xBB\xBF \n{}", "{}"},
                   {"\v\f1", "1"},
                   {" [ 1 ,\t{ \"a\"\r:\n[ ] } ] ", R"([1,{"a":[]}])"},
                   {"true1", "true"},
                   {"[true,false,null]", "[true,false,null]"}});
}

TEST(JsonParse, StringsAreUnescapedAndTakenAsTheyAreOtherwise) {
  expect_refused({R"("\ud800")", R"("\ud800x")", R"("\ud800\n")", R"("\ud800\ud800")",
                  R"("\udc00")", R"("\u12g4")", R"("\u12)", R"("\x41")", R"("\)",
                  R"("unterminated)", "\"a\tb\"", "\"long enough for a whole word\n\""});
  expect_outcomes({{R"("\ud83d\ude00")", "\"\xF0\x9F\x98\x80\""},
                   {R"("\u00e9\u20AC\u0041\uffff")",
                    "\"\xC3\xA9\xE2\x82\xAC"
                    "A\xEF\xBF\xBF\""},
                   {R"("\"\\\/\b\f\n\r\t")", R"("\"\\\/\b\f\n\r\t")"},
                   {R"("a/b\u001F\u0000z")", R"("a\/b\u001f\u0000z")"},
                   {"\"\xFF\xC0\x80 \x7F\"", "\"\xFF\xC0\x80 \x7F\""},
                   {R"("0123456\"789abcdef\\0123456")", R"("0123456\"789abcdef\\0123456")"}});
  EXPECT_STREQ(json_string(parsed(R"("seen\u0000hidden")").get()), "seen");
}

TEST(JsonParse, FormWithCommentsBlanksBlocksBeforeLines) {
  const Outcome outcomes[] = {
      {"1 /*x", "1"},
      {"/*a*/1", "1"},
      {"/*/ 2 */ 1", "1"},
      {"/* 1", "1"},
      {"// 1", "1"},
      {"{\"a\"/*x*/:1}//z", R"({"a":1})"},
      {"// x\n{\"a\":\"//\"}", R"({"a":"\/\/"})"},
      {"/* // */ 3", "3"},
      {"// /*\n4 */", kFails},
      {"// a \" quote\n/* x */ 1", kFails},
      {"/* a \" quote */ 1", "1"},
      {"{\"u\":\"http://x\"}", R"({"u":"http:\/\/x"})"},
      {R"({"u":"\\"} // y)", R"({"u":"\\"})"},
      {R"({"u":"\"/*\"*/"})", R"({"u":"\"\/*\"*\/"})"},
      {"[1, // one\n 2, /* two\n */ 3 // end\n]", "[1,2,3]"},
      {"[1,2]", "[1,2]"},
      {"\xEF\xBB\xBF{}", kFails},
      {"\"/* ", kFails},
      {"\"// \\", kFails},
  };
  for (const Outcome& outcome : outcomes) {
    const OwnedValue value(json_parse_string_with_comments(outcome.text));
    EXPECT_EQ(compact(value.get()), outcome.expected) << outcome.text;
  }
  EXPECT_EQ(reprinted("/*a*/1"), kFails);
}

TEST(JsonParse, NestingEndsAt2048Levels) {
  const std::size_t deepest = 2048;
  const auto nested = [](const char* open, const char* inner, const char* close,
                         std::size_t depth) {
    return repeated(open, depth) + inner + repeated(close, depth);
  };
  EXPECT_NE(parsed(nested("[", "1", "]", deepest)), nullptr);
  EXPECT_EQ(parsed(nested("[", "", "]", deepest + 1)), nullptr);
  EXPECT_NE(parsed(nested("{\"a\":", "1", "}", deepest)), nullptr);
  EXPECT_EQ(parsed(nested("{\"a\":", "1", "}", deepest + 1)), nullptr);
  EXPECT_EQ(parsed(repeated("[", 1000000)), nullptr);
  EXPECT_NE(parsed("[" + repeated(nested("[", "", "]", deepest - 1) + ",", 3) + "]"), nullptr);
}

TEST(JsonParse, FilesAreReadInBothForms) {
  const tly::test::TemporaryDirectory directory;
  const std::string large = "\"" + std::string(100000, 'x') + "\"";
  const Outcome outcomes[] = {
      {"", kFails}, {"\xEF\xBB\xBF[1]", "[1]"}, {large.c_str(), large.c_str()}};
  for (const Outcome& outcome : outcomes) {
    const std::string path = directory.write("document", outcome.text);
    const OwnedValue value(json_parse_file(path.c_str()));
    EXPECT_EQ(compact(value.get()), outcome.expected);
  }
  const std::string path = directory.write("commented", "[1, /* two */ 3] // end\n");
  const OwnedValue value(json_parse_file_with_comments(path.c_str()));
  EXPECT_EQ(compact(value.get()), "[1,3]");
  EXPECT_EQ(json_parse_file(path.c_str()), nullptr);
  EXPECT_EQ(json_parse_file((path + "?").c_str()), nullptr);
  EXPECT_EQ(json_parse_file_with_comments(directory.path().c_str()), nullptr);
}

}  // namespace
