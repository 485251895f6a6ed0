#include "tallyra/name_matching.h"

#include <gmock/gmock.h>

#include "counters_test_support.h"
#include "log_capture.h"

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
    const StringArrayPtr patterns = make_strings({"no such name", pattern});
    EXPECT_EQ(tly_match_patterns(name, patterns.get(), mode), matches) << pattern << ", " << name;
  }
}

TEST(EnableFilters, NeedAnEnablePatternAndWarnWhenADisablePatternOverridesIt) {
  const LogCapture log;
  const StringArrayPtr all = make_strings({"*"});
  const StringArrayPtr vintor = make_strings({"vintor*"});
  tly_options_t options{};
  EXPECT_TRUE(tly_comp_is_enabled("vintor.c", &options));
  options.disable_patterns = vintor.get();
  EXPECT_FALSE(tly_comp_is_enabled("other", &options));
  options.enable_patterns = all.get();
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
  const StringArrayPtr part = make_strings({"vintor"});
  const StringArrayPtr wildcard = make_strings({"LIB*"});
  EXPECT_TRUE(tly_plugin_file_is_enabled(file, part.get(), wildcard.get()));
  EXPECT_TRUE(log.lines().empty());
  EXPECT_FALSE(tly_plugin_file_is_enabled(file, wildcard.get(), part.get()));
  EXPECT_EQ(log.texts(4).size(), 1U);
  const auto serves = [file](std::initializer_list<const char*> patterns) {
    return tly_plugin_file_component_is_enabled(file, make_strings(patterns).get());
  };
  EXPECT_TRUE(serves({"pmc_res", "vintor.pmc_res"}));
  EXPECT_FALSE(serves({"libvintor.c.d", "vintor"}));
}

TEST(CounterNames, AreFilteredSortedAndJoinedWithTheMandatoryOnes) {
  const StringArrayPtr names = make_strings({"b", "a", "c", "a"});
  const StringArrayPtr all = make_strings({"*"});
  const StringArrayPtr c = make_strings({"c"});
  const StringArrayPtr mandatory = make_strings({"z", "a"});
  const auto select = [&](const StringArrayPtr& enable, const StringArrayPtr& disable,
                          const StringArrayPtr& forced) {
    const StringArrayPtr selected(
        tly_match_counter_names(names.get(), enable.get(), disable.get(), forced.get(), 1));
    return std::vector<std::string>(selected->strings, selected->strings + selected->count);
  };
  EXPECT_THAT(select(all, c, mandatory), ElementsAre("a", "b", "z"));
  EXPECT_THAT(select(all, nullptr, make_strings({})), ElementsAre("a", "a", "b", "c"));
}

}  // namespace
}  // namespace tly::test
