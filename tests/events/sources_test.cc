#include "tallyra/sources.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "environment.h"
#include "events/source_building.h"
#include "log_capture.h"

static bool host_has_name = true;

// Stands before the system's own for this program.
extern "C" int gethostname(char* name, size_t) noexcept {
  memcpy(name, "host.net", 9);
  errno = EPERM;
  return host_has_name ? 0 : -1;
}

namespace tly::test {
namespace {

using namespace std::string_literals;

// The ids of the array, which is destroyed, each followed by its tag and a bar.
std::string joined(tly_source_array_t* array) {
  const SourceArrayPtr owned(array);
  std::string ids = array != nullptr ? "" : "absent";
  for (int index = 0; array != nullptr && index < array->count; ++index) {
    ids += array->sources[index]->id + ""s + array->sources[index]->tag + "|";
  }
  return ids;
}

std::string from(const std::string& text) {
  return joined(tly_create_source_array_from_input(text.c_str()));
}

TEST(Sources, AreNumberedByTexts) {
  const ScopedEnv base("TLY_SOURCE_ID", "node");
  const LogCapture log;
  const std::string p60(60, 'p');
  std::string ids;
  for (const std::string& text :
       {"3"s, "0x2"s, "0-1"s, "r[4-5]x["s, "[1-2]"s, p60 + "[100-100]", p60 + "pppp[1-1]",
        "2147483647-2147483647"s, "65535"s, "0-2147483647"s}) {
    ids += from(text) + " ";
  }
  EXPECT_EQ(ids, "node_1|node_2|node_3| node_1|node_2| node_0|node_1| r_4|r_5| _1|_2| " + p60 +
                     "_10| " + p60 + "ppp| node_2147483647| absent absent ");
  EXPECT_TRUE(log.lines().empty());
  for (const char* text : {"5-3", "-3", "3-", "0", "x-y", "r[08-09]", "", "a-b[1-2]", "a]b[1-2",
                           "[12]", "1-2-3", "2147483648", "r[1-2", "r[-2]", "1-2 "}) {
    EXPECT_EQ(from(text), "absent");
    EXPECT_EQ(log.lines().back(), (LogLine{3, "[source] Invalid source format: "s + text}));
  }
}

TEST(Sources, AreNamedByTheEnvironmentOrByTheHost) {
  const LogCapture log;
  EXPECT_EQ((ScopedEnv("TLY_SOURCE_ID", ""), from("1")), "_1|");
  const ScopedEnv no_id("TLY_SOURCE_ID", nullptr);
  const ScopedEnv no_name("TLY_HOST_NAME", nullptr);
  EXPECT_EQ(joined(tly_create_default_source_array("-t")) + from("1-1"), "host-t|host_1|");
  host_has_name = false;
  EXPECT_EQ(joined(tly_create_default_source_array("")) + from("1-1"), "absentabsent");
  host_has_name = true;
  EXPECT_EQ(log.count(3, "[source] Failed to get host name: Operation not permitted"), 2U);
}

TEST(Sources, AreReadFromFiles) {
  const TemporaryDirectory directory;
  const LogCapture log;
  const std::string x1022(1022, 'x');
  std::string ids;
  for (const std::string& content :
       {""s, "a\r\n\n b \n\rc\rd\n(last)"s, "a\0b\nH\0-\n\0\nc"s, x1022 + "yz", x1022 + "H-",
        x1022 + "(a)\n-H-", "\nS-)(\n(a)) (b)\n()\n(" + x1022 + ")"}) {
    ids += from(directory.write("f", content)) + "\n";
  }
  const std::string x63(63, 'x');
  EXPECT_EQ(ids, "\na| b |c|(last)|\na|H|c|\n" + x63 + "|z|\n" + x63 + "|-|\n\na||\n");
  EXPECT_TRUE(log.lines().empty());
  const std::string path = directory.path();
  EXPECT_EQ(from(path), "absent");
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{{3, "[source] Failed to open file: " + path},
                                               {3, "[source] Failed to open text file: " + path}}));
}

TEST(Sources, FillArraysUpToTheLimitAndAreFoundByIdentity) {
  const SourceArrayPtr array(tly_create_source_array());
  array->count = 65533;
  array->sources = static_cast<tly_source_t**>(calloc(array->count, sizeof(tly_source_t*)));
  const SourcePtr source(tly_create_source(std::string(70, 'i').c_str(), "0123456789abcdefg"));
  EXPECT_EQ(source->id + "/"s + source->tag, std::string(63, 'i') + "/0123456789abcde");
  tly_source_t* const last = tly_create_source("host", "x");
  EXPECT_TRUE(tly_source_array_append(array.get(), last));
  EXPECT_FALSE(tly_source_array_append(array.get(), source.get()));
  EXPECT_GT(tly_source_compare(source.get(), last), 0);
  tly_source_copy(source.get(), last);
  EXPECT_EQ(tly_source_compare(source.get(), last), 0);
  source->tag[0] = 'a';
  EXPECT_LT(tly_source_compare(source.get(), last), 0);
  EXPECT_STREQ(OwnedString(tly_source_string(last)).get(), "host");
  EXPECT_EQ(tly_source_array_find_source(array.get(), last), 65533);
  EXPECT_EQ(tly_source_array_find_source(array.get(), source.get()), TLY_SOURCE_NOT_FOUND);
  const LogCapture log;
  char text[] = "#########";
  EXPECT_FALSE(tly_source_full_string(last, text, 6));
  EXPECT_EQ(log.texts(7).back(), "[source] buffer too small for source host:x (got 6)");
  EXPECT_TRUE(tly_source_full_string(last, text, 7));
  EXPECT_EQ(std::string(text, 9), "host:x\0##"s);
  EXPECT_EQ(tly_source_array_log(array.get(), "s"), 65534);
  EXPECT_EQ(log.lines().back(), (LogLine{7, "s[65533] = host"}));
}

}  // namespace
}  // namespace tly::test
