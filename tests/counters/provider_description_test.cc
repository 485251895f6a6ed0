#include <gmock/gmock.h>

#include "counters_test_support.h"
#include "log_capture.h"

namespace tly::test {
namespace {

using testing::ElementsAre;

class Description : public testing::Test {
 protected:
  static std::string json(const tly_component_t& component, bool with_counters) {
    return serialized(tly_jsonify_component_info(&component, with_counters));
  }

  std::string text(bool with_components, bool with_counters) const {
    return printed([&](FILE* stream) {
      tly_print_provider_info(&provider_, with_components, with_counters, stream);
    });
  }

  std::string texts_[4] = {"cpu", "processors", "off", "p"};
  CounterPtr owned_[2] = {make_counter("user", TLY_DATA_TYPE_UINT64),
                          make_counter("idle", TLY_DATA_TYPE_FP64)};
  tly_counter_info_t* counters_[2] = {owned_[0].get(), owned_[1].get()};
  tly_component_t cpu_{3, 0,         texts_[0].data(), texts_[1].data(), true, texts_[2].data(),
                       2, counters_, nullptr};
  tly_component_t spare_ = cpu_;
  tly_component_t* components_[2] = {&spare_, &cpu_};
  tly_provider_t provider_ = [this] {
    tly_provider_t provider{};
    provider.id = 1;
    provider.version = 65536;
    provider.name = provider.description = texts_[3].data();
    provider.num_components = 2;
    provider.components = components_;
    return provider;
  }();
};

TEST_F(Description, AsJsonListsCountersOnlyOfEnabledComponentsWhenAsked) {
  const std::string head =
      R"({"id":3,"name":"cpu","description":"processors","enabled":true,"num_counters":2)";
  EXPECT_EQ(json(cpu_, false), head + "}");
  EXPECT_THAT(json(cpu_, true), testing::StartsWith(head + R"(,"counters":[{"name":"user",)"));
  cpu_.enabled = false;
  EXPECT_EQ(json(cpu_, true),
            R"({"id":3,"name":"cpu","description":"processors","enabled":false,"num_counters":2,)"
            R"("status_string":"off"})");
  cpu_.status_string = nullptr;
  cpu_.num_counters = 0;
  EXPECT_THAT(json(cpu_, true), testing::EndsWith(R"("num_counters":0})"));
  cpu_.enabled = true;
  EXPECT_THAT(json(cpu_, true), testing::EndsWith(R"("num_counters":0,"counters":[]})"));

  const std::string provider_head =
      R"({"name":"p","description":"p","id":1,"version":65536,"num_components":)";
  EXPECT_EQ(serialized(tly_jsonify_provider_info(&provider_, false, true)), provider_head + "2}");
  provider_.num_components = 0;
  provider_.name = nullptr;
  EXPECT_EQ(serialized(tly_jsonify_provider_info(&provider_, true, true)),
            provider_head.substr(0, 1) + provider_head.substr(12) + R"(0,"components":[]})");
}

TEST_F(Description, AsJsonFailsWholeAndNamesWhatIsWrong) {
  const LogCapture log;
  cpu_.description = nullptr;
  EXPECT_EQ(tly_jsonify_provider_info(&provider_, true, false), nullptr);
  spare_.name = nullptr;
  EXPECT_EQ(tly_jsonify_component_info(&spare_, false), nullptr);
  spare_ = cpu_;
  spare_.description = texts_[0].data();
  counters_[1] = nullptr;
  EXPECT_EQ(tly_jsonify_component_info(&spare_, true), nullptr);
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine{3, "Failed to JSONify field 'description' of component cpu"},
                          LogLine{4, "Failed to jsonify component #1"},
                          LogLine{3, "Failed to JSONify field 'name' of component (null)"},
                          LogLine{3, "Failed to JSONify counter #1"}));
}

TEST_F(Description, AsTextHasTheColumnsOfTheTables) {
  const std::string head =
      "Provider             : p\nProvider id          : 1\nDescription          : p\n"
      "Version              : 00010000\nComponents           : 2\n\n";
  EXPECT_EQ(text(false, true), head);
  cpu_.enabled = false;
  const std::string id =
      "  Component          : cpu\n  Component id       : 3\n"
      "  Description        : processors\n";
  const std::string counters =
      id + "  Counters           : 2\n  |   # | COMPONENT  | " + std::string("COUNTER") +
      std::string(33, ' ') + " | DESCRIPTION" + std::string(49, ' ') + " |\n" +
      "  |   0 | cpu        | user" + std::string(36, ' ') + " | what it counts" +
      std::string(46, ' ') + " |\n  |   1 | cpu        | idle" + std::string(36, ' ') +
      " | what it counts" + std::string(46, ' ') + " |\n  ---------------------------\n";
  EXPECT_EQ(text(true, true), head + counters + "\n" + id + "  Disabled           : off\n\n");
  EXPECT_EQ(text(true, false),
            head + id + "  Counters           : 2\n\n" + id + "  Disabled           : off\n\n");
}

TEST_F(Description, LooksUpTheFirstOfThatName) {
  EXPECT_EQ(tly_query_counter_component(&provider_, "idle"), &spare_);
  spare_.num_counters = 1;
  EXPECT_EQ(tly_query_counter_component(&provider_, "idle"), &cpu_);
  EXPECT_EQ(tly_query_counter_information(&cpu_, "idle"), counters_[1]);
  counters_[0] = counters_[1];
  EXPECT_EQ(tly_query_counter_information(&cpu_, "user"), nullptr);
  cpu_.num_counters = spare_.num_counters = -1;
  EXPECT_EQ(tly_query_counter_component(&provider_, "idle"), nullptr);
}

}  // namespace
}  // namespace tly::test
