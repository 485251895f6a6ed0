#include "vintor/discovery.h"

#include <gmock/gmock.h>

#include "log_capture.h"
#include "string_arrays.h"
#include "tallyra/vintor_provider.h"
#include "tool_shim.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tly::test::LogCapture;

class Discovery : public testing::Test {
 protected:
  Discovery() { provider_.name = name_; }
  ~Discovery() override { vintor_provider_finalize(&provider_); }

  bool discover(const std::string& output, int exit_status = 0,
                const tly_options_t* options = nullptr) {
    vintor_provider_finalize(&provider_);
    shim_.print(output, exit_status);
    return vintor_collector_init_provider(&provider_, options);
  }
  // One line per component, with its counters.
  std::vector<std::string> components() const {
    std::vector<std::string> lines;
    for (int i = 0; i < provider_.num_components; ++i) {
      const tly_component_t& component = *provider_.components[i];
      std::string line = std::to_string(component.id) + " " + component.name;
      for (int j = 0; j < component.num_counters; ++j) {
        const tly_counter_info_t& counter = *component.counters[j];
        EXPECT_STREQ(counter.description, "Arvalen Performance Counter");
        EXPECT_STREQ(counter.units, "");
        EXPECT_EQ(counter.length, 8u);
        line += " | " + std::to_string(counter.id) + " " + counter.name + " " +
                tly_data_type_string(counter.data_type) + " " +
                tly_counting_type_string(counter.counting_type);
      }
      lines.push_back(line + (component.enabled ? "" : " (disabled)"));
    }
    return lines;
  }

  tly::test::ToolShim shim_;
  char name_[7] = "vintor";
  tly_provider_t provider_{};
};

TEST_F(Discovery, NamesAndTypesEveryNumber) {
  const std::string megabyte(1 << 20, 'n');
  const std::string two_numbers = R"({"cpu0":{"cycles":12,"freq_mhz":2.5}})";
  EXPECT_TRUE(discover("noise\n=== pmc_res === " + two_numbers +
                       "\n===pmc_res_bw=== " + two_numbers + "\n=== " + megabyte +
                       " === // none\n {\"" + megabyte + "\":{\"v\":1}}"));
  EXPECT_THAT(components(), ElementsAre("0 pmc_res | 0 pmc_res:cpu0:cycles UINT64 RUNNING_SUM"
                                        " | 1 pmc_res:cpu0:freq_mhz FP64 ABSOLUTE",
                                        "1 pmc_res_bw | 2 pmc_res_bw:cpu0:cycles FP64 ABSOLUTE"
                                        " | 3 pmc_res_bw:cpu0:freq_mhz FP64 ABSOLUTE",
                                        "2 " + megabyte + " | 4 " + megabyte + ":" + megabyte +
                                            ":v FP64 ABSOLUTE"));
}

TEST_F(Discovery, PassesOverWhatCannotBecomeACounter) {
  const LogCapture log(4);
  EXPECT_TRUE(discover(R"(=== x === {"a":{"b":{"c":1}},"":{"b":{"c":"1","d":[1],"":3}},
                                     "z":{"b":{"c":2,"n":null,"t":true}}}
                          === y === {"p":1,"q":2} === z === 5)"));
  // Only the last two keys count, so paths may share a name.
  EXPECT_THAT(components(), ElementsAre("0 x | 0 x:b:c FP64 ABSOLUTE | 1 x:b: FP64 ABSOLUTE"
                                        " | 2 x:b:c FP64 ABSOLUTE",
                                        "1 y", "2 z"));
  const std::string type = "[vintor] Got an unexpected type in the JSON object (";
  EXPECT_THAT(log.texts(4), ElementsAre(type + "2)", type + "5)", type + "1)", type + "6)"));
  const std::string keys =
      "[vintor] [append_counter_to_provider_callback] No keys found for the counter - expected at "
      "least 2 keys (component: ";
  EXPECT_THAT(log.texts(3), ElementsAre(keys + "y)", keys + "y)", keys + "z)"));
}

TEST_F(Discovery, LeavesOutDisabledSectionsUnparsed) {
  const tly::test::Array enable("vintor.b*");
  const tly_options_t options{enable.block, nullptr, nullptr};
  const LogCapture log;
  EXPECT_TRUE(discover(R"(=== a === no JSON === b1 === {"k":{"v":1}} === b2 === {"k":{"v":1}})", 0,
                       &options));
  EXPECT_THAT(components(),
              ElementsAre("0 b1 | 0 b1:k:v FP64 ABSOLUTE", "1 b2 | 1 b2:k:v FP64 ABSOLUTE"));
  EXPECT_TRUE(discover("=== a === no JSON", 0, &options));
  EXPECT_THAT(components(), IsEmpty());
  EXPECT_EQ(log.count(7, "[vintor] [init_provider] Component vintor.a is not enabled"), 2u);
  EXPECT_THAT(log.texts(3), IsEmpty());
}

TEST_F(Discovery, LeavesNothingBehindWhenTheOutputIsUnusable) {
  const std::string counts = "[vintor] Failed to split the input JSON into sections - got ";
  const std::string split =
      "[vintor] [init_provider] Failed to split the input string into components";
  const std::vector<std::string> no_json = {
      "[vintor] Failed to parse the input string as JSON",
      "[vintor] Failed to parse and enumerate the input JSON string",
      "[vintor] [init_provider] Failed to allocate memory for component"};
  const std::string good = "=== good === {\"k\":{\"v\":1}} ";
  std::string deep;
  for (int level = 0; level < 10'000; ++level) {
    deep += "{\"k\":";
  }
  const struct {
    std::string output;
    int exit_status;
    std::vector<std::string> errors;
  } cases[] = {
      {good, 1, {"[vintor] [init_provider] Failed to get data"}},
      {"", 0, {"[vintor] [init_provider] Got empty output"}},
      {"garbage", 0, {counts + "1 offsets and 0 names", split}},
      {good + "=== end ===", 0, {counts + "1 offsets and 2 names", split}},
      {good + "=== bad === {\"k\":", 0, no_json},
      {good + "=== twice === === in a row === {}", 0, no_json},
      {good + "=== text === {\"k\":\"=== inside === {}\"}", 0, no_json},
      {good + "=== same === {\"k\":1,\"k\":2}", 0, no_json},
      {good + "=== deep === " + deep + "1" + std::string(10'000, '}'), 0, no_json},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.output.substr(0, 80));
    const LogCapture log(3);
    EXPECT_FALSE(discover(expected.output, expected.exit_status));
    EXPECT_EQ(provider_.num_components, 0);
    EXPECT_EQ(provider_.components, nullptr);
    EXPECT_EQ(log.texts(3), expected.errors);
  }
}

TEST_F(Discovery, RefusesMoreComponentsThanTheRecordCanCount) {
  tly_component_t* full[1] = {};
  tly_provider_t provider{};
  provider.components = full;
  provider.num_components = 65'535;
  vintor::collector::ProviderAndIndex discovery{&provider, 0};
  const LogCapture log(3);
  EXPECT_FALSE(vintor::collector::append_component_from_json_string(discovery, "{}", "one more"));
  EXPECT_EQ(provider.components, full);
  EXPECT_EQ(provider.num_components, 65'535);
  EXPECT_THAT(log.texts(3), ElementsAre("[vintor] Failed to allocate memory for components"));
}

}  // namespace
