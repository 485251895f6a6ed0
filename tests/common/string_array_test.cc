#include "tallyra/string_array.h"

#include <gtest/gtest.h>

#include "environment.h"
#include "log_capture.h"
#include "string_arrays.h"

namespace tly::test {
namespace {

TEST(StringArray, AppendingCreatesTheArray) {
  Array array;
  EXPECT_FALSE(tly_append_string_array(&array.block, nullptr));
  EXPECT_TRUE(tly_append_string_array(&array.block, "a"));
  EXPECT_EQ(array.texts(), Texts{"a"});
}

TEST(StringArray, CommaSeparatedTextGivesItsTokensVerbatim) {
  const std::string long_token(5000, 'x');
  EXPECT_EQ(Array(",,").texts(), Texts());
  EXPECT_EQ(Array(",a,,b,").texts(), (Texts{"a", "b"}));
  EXPECT_EQ(Array(" a , b").texts(), (Texts{" a ", " b"}));
  EXPECT_EQ(Array(long_token + ",y").texts(), (Texts{long_token, "y"}));
  EXPECT_EQ(Array(std::string_view("ab,cd", 4)).texts(), (Texts{"ab", "c"}));
}

TEST(StringArray, JoiningAppendsCopies) {
  Array array("a,b");
  EXPECT_TRUE(tly_string_array_join(&array.block, Array("c").block));
  EXPECT_TRUE(tly_string_array_join(&array.block, Array("").block));
  EXPECT_TRUE(tly_string_array_join(&array.block, array.block));
  EXPECT_EQ(array.texts(), (Texts{"a", "b", "c", "a", "b", "c"}));
}

TEST(StringArray, AdjacentDuplicatesAreRemovedFromASortedArray) {
  const LogCapture log;
  Array single("a");
  Array array("a,a,b,b,b,c");
  EXPECT_FALSE(tly_string_array_remove_duplicates(&array.block, false));
  EXPECT_EQ(array.texts().size(), 6u);
  for (int repetition = 0; repetition < 2; ++repetition) {
    EXPECT_TRUE(tly_string_array_remove_duplicates(&array.block, true));
    EXPECT_EQ(array.texts(), (Texts{"a", "b", "c"}));
  }
  EXPECT_TRUE(tly_string_array_remove_duplicates(&single.block, false));
  EXPECT_EQ(log.lines(),
            (std::vector<LogLine>{{3, "[tly_string_array_remove_duplicates] not implemented"}}));
}

TEST(StringArray, TheMeaningfulLinesOfAFileAreAppended) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("list", "x\n  # note\n\n \t\n  y \r\n#z\nlast");
  const std::string missing = path + "?";
  LogCapture log;
  Array array("first");
  EXPECT_TRUE(tly_string_array_append_file_lines(&array.block, path.c_str(), "names"));
  EXPECT_FALSE(tly_string_array_append_file_lines(&array.block, missing.c_str(), nullptr));
  EXPECT_FALSE(tly_string_array_append_file_lines(&array.block, directory.path().c_str(), nullptr));
  EXPECT_EQ(array.texts(), (Texts{"first", "x", "y", "last"}));
  EXPECT_EQ(log.texts(6), (Texts{"Loading names from " + path, "Failed to open  file " + missing +
                                                                   ": No such file or directory"}));
  log.clear();
  tly_log_string_array(6, array.block, "line");
  EXPECT_EQ(log.count(6, "line[3] = last"), 1u);
  EXPECT_TRUE(tly_string_array_contains(array.block, "y"));
  EXPECT_FALSE(tly_string_array_contains(array.block, "Y"));
}

}  // namespace
}  // namespace tly::test
