#include "vintor/sections.h"

#include <gmock/gmock.h>

#include <random>
#include <regex>

#include "log_capture.h"
#include "vintor/header_scanner.h"

namespace {

using namespace vintor::collector;

constexpr std::size_t kMiB = 1 << 20;

TEST(HeaderScanner, FindsWhatTheExpressionMatches) {
  constexpr std::string_view kPieces[] = {"=", "==", "===", "===", " ", "  ", "a", "b", "\n", "\t"};
  const std::regex expression("=== *(\\S+) *===");
  std::mt19937 random(20'240'229);
  for (int i = 0; i < 50'000; ++i) {
    std::string text;
    for (auto pieces = random() % 14; pieces > 0; --pieces) {
      text += kPieces[random() % std::size(kPieces)];
    }
    HeaderScanner scanner(text);
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end;
         ++match) {
      const auto header = scanner.next();
      ASSERT_TRUE(header && header->begin == static_cast<std::size_t>(match->position()) &&
                  header->end - header->begin == static_cast<std::size_t>(match->length()) &&
                  header->name == match->str(1))
          << testing::PrintToString(text);
    }
    ASSERT_FALSE(scanner.next()) << testing::PrintToString(text);
  }
}

TEST(HeaderScanner, TakesLinearTimeOnHostileTexts) {
  // Quadratic work would take hours.
  const struct {
    std::string head;
    std::string unit;
    std::size_t size;
    int headers;
  } texts[] = {
      {"", std::string(kMiB, '='), 16 * kMiB, 1},
      {"===a===b", std::string(kMiB, 'x'), 16 * kMiB, 1},
      {"", "=== ==\t", 4 * kMiB, 0},
      {"", "===\n", 4 * kMiB, 0},
      {"", "===" + std::string(kMiB, ' ') + "a" + std::string(kMiB, ' '), 16 * kMiB, 4},
  };
  for (const auto& [head, unit, size, headers] : texts) {
    std::string text = head;
    while (text.size() < size) {
      text += unit;
    }
    HeaderScanner scanner(text);
    int found = 0;
    for (; scanner.next(); ++found) {
    }
    EXPECT_EQ(found, headers) << head << unit.substr(0, 8);
  }
}

TEST(Sections, AreNamesWithTheRangesOfTheirBodies) {
  const struct {
    std::string text;
    bool result;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> offsets;
    std::vector<std::string> names;
  } cases[] = {
      {"", true, {}, {}},
      {"===a=== {} === b === {}", true, {{7, 11}, {20, 23}}, {"a", "b"}},
      {"junk\n===   a ===1", true, {{16, 17}}, {"a"}},
      {"=== a ====== b ===1", true, {{9, 9}, {18, 19}}, {"a", "b"}},
      {std::string("===\0\xFF=== ", 9), true, {{8, 9}}, {std::string("\0\xFF", 2)}},
      {"no header", false, {{0, 9}}, {}},
      {"=== a === {} === b ===", false, {{9, 13}}, {"a", "b"}},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.text.substr(0, 40));
    const tly::test::LogCapture log;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> offsets;
    std::vector<std::string> names;
    EXPECT_EQ(split_sections(expected.text.data(), expected.text.size(), offsets, names),
              expected.result);
    EXPECT_EQ(offsets, expected.offsets);
    EXPECT_EQ(names, expected.names);
    EXPECT_EQ(log.count(3,
                        "[vintor] Failed to split the input JSON into sections - got 1 offsets "
                        "and " +
                            std::to_string(names.size()) + " names"),
              expected.result ? 0u : 1u);
  }
}

}  // namespace
