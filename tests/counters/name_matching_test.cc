#include "tallyra/name_matching.h"

#include <gmock/gmock.h>

#include "log_capture.h"
#include "string_arrays.h"

namespace tly::test {
namespace {

using testing::ElementsAre;

TEST(NameMatching, FollowsTheMode) {
  EXPECT_EQ(tly_name_matching_string(2), nullptr);
  EXPECT_EQ(tly_name_matching_from_string("regexp"), 0U);
  EXPECT_EQ(tly_name_matching_from_string("contains"), 3U);
  EXPECT_EQ(tly_name_matching_from_string("Exact"), 0xFFFFFFFF);
  const struct {
    const char* pattern;
    const char* name;
    tly_name_matching_t mode;
    bool matches;
  } cases[] = {
      {"vintor", "Vintor", 0, false},
      {"pmc_res*", "PMC_RES_BW", 1, true},
      {"vintor", "vintor.pmc_res_bw", 1, true},
      {"vintor", "vintorx", 1, false},
      {"vintor.pmc_res", "vintor.pmc_res_bw_agg", 1, false},
      {"vintor.pmc_res", "vintor.pmc_res.x", 1, true},
      {"*", "/.a", 1, true},
      {"*", "*", 2, false},
      {"", "anything", 3, true},
      {"tor.p", "vintor.pmc", 3, true},
      {"Tor", "vintor", 3, false},
  };
  for (const auto& [pattern, name, mode, matches] : cases) {
    Array patterns("no such name");
    tly_append_string_array(&patterns.block, pattern);
    EXPECT_EQ(tly_match_patterns(name, patterns.block, mode), matches) << pattern << ", " << name;
  }
}

TEST(EnableFilters, NeedAnEnablePatternAndWarnWhenADisablePatternOverridesIt) {
  const LogCapture log;
  const Array all("*");
  const Array vintor("vintor*");
  tly_options_t options{};
  EXPECT_TRUE(tly_comp_is_enabled("vintor.c", &options));
  options.disable_patterns = vintor.block;
  EXPECT_FALSE(tly_comp_is_enabled("other", &options));
  options.enable_patterns = all.block;
  EXPECT_TRUE(log.lines().empty());
  EXPECT_FALSE(tly_comp_is_enabled("vintor.c", &options));
  EXPECT_THAT(
      log.lines(),
      ElementsAre(LogLine{
          4, "'vintor.c' will not run. specified in disable-provider and in enable-provider."}));
}

TEST(EnableFilters, ForPluginFilesDisableBySubstringOnly) {
  const LogCapture log;
  const char* file = "libvintor.so";
  const Array part("vintor");
  const Array wildcard("LIB*");
  EXPECT_TRUE(tly_plugin_file_is_enabled(file, part.block, wildcard.block));
  EXPECT_TRUE(log.lines().empty());
  EXPECT_FALSE(tly_plugin_file_is_enabled(file, wildcard.block, part.block));
  EXPECT_EQ(log.texts(4).size(), 1U);
  EXPECT_TRUE(tly_plugin_file_component_is_enabled(file, Array("pmc_res,vintor.pmc_res").block));
  EXPECT_FALSE(tly_plugin_file_component_is_enabled(file, Array("libvintor.c.d,vintor").block));
}

TEST(CounterNames, AreFilteredSortedAndJoinedWithTheMandatoryOnes) {
  const Array names("b,a,c,a");
  const auto select = [&](const Array& enable, const Array& disable, const Array& mandatory) {
    Array selected;
    selected.block =
        tly_match_counter_names(names.block, enable.block, disable.block, mandatory.block, 1);
    return selected.texts();
  };
  EXPECT_THAT(select(Array("*"), Array("c"), Array("z,a")), ElementsAre("a", "b", "z"));
  EXPECT_THAT(select(Array("*"), Array(), Array("")), ElementsAre("a", "a", "b", "c"));
}

}  // namespace
}  // namespace tly::test
