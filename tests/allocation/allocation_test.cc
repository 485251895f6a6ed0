// Each allocation of each scenario fails in turn: the calls end in their failure results and leave
// what must stay as it was, nothing leaks, and no exception leaves the library.
#include <gmock/gmock.h>

#include <cstdarg>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "scenario.h"
#include "tallyra/logging.h"

namespace tly::test {
namespace {

struct Section {
  std::vector<std::string> functions, messages;
};

// functions.txt by heading.
std::map<std::string, Section> read_sections() {
  std::map<std::string, Section> sections;
  Section* section = nullptr;
  std::ifstream file(FUNCTIONS);
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("  \"")) {
      section->messages.push_back(line.substr(3, line.size() - 4));
    } else if (line.starts_with("  ")) {
      std::istringstream words(line);
      for (std::string word; words >> word;) {
        section->functions.push_back(word);
      }
    } else if (!line.empty() && line[0] != '#') {
      section = &sections[line];
    }
  }
  return sections;
}

// The messages that are waited for, and which of them were issued; kept without allocating.
const std::vector<std::string>* expected_messages;
bool are_issued[32];

TLY_PRINTF(2, 3) void note_message(int, const char* format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  for (std::size_t i = 0; i < expected_messages->size(); ++i) {
    are_issued[i] |= (*expected_messages)[i] == text;
  }
}

// Returns whether an allocation failed.
bool run_once(void (*scenario)(Pass& pass), int successes) {
  SCOPED_TRACE(testing::Message() << successes << " allocations succeed");
  tly_set_log_func(&note_message, TLY_LOG_LEVEL_DEBUG);
  const long live_before = live_allocations;
  Pass pass(successes);
  scenario(pass);
  if (successes >= 0) {  // the first run leaves what is made once in a process
    EXPECT_EQ(live_allocations - live_before, 0) << "blocks leaked";
  }
  return pass.has_failed();
}

TEST(ExportedFunctions, AreAllInAScenarioOrAllocateNothing) {
  std::set<std::string> exported;
  std::ifstream list(EXPORTED_SYMBOLS);
  for (std::string line; std::getline(list, line);) {
    if (!line.empty() && line[0] != '#') {
      exported.insert(line);
    }
  }
  std::set<std::string> named;
  for (const auto& [heading, section] : read_sections()) {
    for (const std::string& function : section.functions) {
      EXPECT_TRUE(named.insert(function).second) << function << " is named twice";
    }
  }
  EXPECT_THAT(named, testing::ContainerEq(exported));
}

}  // namespace

void run_scenario(void (*scenario)(Pass& pass)) {
  const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
  const auto sections = read_sections();
  ASSERT_TRUE(sections.contains(name));
  const Section& section = sections.at(name);
  expected_messages = &section.messages;
  std::fill(std::begin(are_issued), std::end(are_issued), false);
  ASSERT_LE(section.messages.size(), std::size(are_issued));
  allocations_fail_here = true;
  run_once(scenario, -1);
  int failures = 0;
  while (!testing::Test::HasFailure() && run_once(scenario, failures)) {
    ++failures;
  }
  tly_set_log_func(nullptr, 0);
  for (std::size_t i = 0; i < section.messages.size(); ++i) {
    EXPECT_TRUE(are_issued[i]) << section.messages[i];
  }
  EXPECT_GT(failures, 0);
  testing::Test::RecordProperty("failures_injected", failures);
  std::printf("%-20s %2zu functions %5d failures injected\n", name.c_str(),
              section.functions.size(), failures);
}

}  // namespace tly::test
