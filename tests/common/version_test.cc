#include "tallyra/version.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tallyra/digest.h"

namespace {

constexpr uint32_t packed(uint32_t major, uint32_t minor, uint32_t patch) {
  return major + 256 * minor + 65536 * patch;
}

TEST(Version, NumberAndTextOfTheLibraryAgree) {
  EXPECT_EQ(tly_version(), 70913u);
  EXPECT_EQ(tly_version_from_string(tly_version_string()), tly_version());
  EXPECT_STREQ(tly_version_to_string(tly_version()), tly_version_string());
  const char* const widest = tly_version_to_string(0xFFFFFFFF);
  EXPECT_STREQ(widest, "255.255.65535");
  EXPECT_EQ(tly_version_to_string(packed(3, 1, 2)), widest);
  EXPECT_STREQ(widest, "3.1.2");
}

TEST(Version, TextsAreReadAsScanfReadsThem) {
  const std::pair<const char*, uint32_t> cases[] = {
      {"1.5", packed(1, 5, 0)},
      {"1.5.0", packed(1, 5, 0)},
      {"1.5 \t\n.7", packed(1, 5, 7)},
      {" +1. 5. 7 and more", packed(1, 5, 7)},
      {"1.5.x", packed(1, 5, 0)},
      {"257.256.65537", packed(1, 0, 1)},
      {"-1.-2.-3", packed(255, 254, 65533)},
      {"0.0.0", 0},
      {"1", 0},
      {"1.", 0},
      {"1 .5", 0},
      {"abc", 0},
      {"", 0},
      {nullptr, 0},
  };
  for (const auto& [text, version] : cases) {
    EXPECT_EQ(tly_version_from_string(text), version) << (text != nullptr ? text : "(null)");
  }
}

TEST(Version, ComparisonAndCompatibilityLeaveThePatchOut) {
  const struct {
    uint32_t data;
    uint32_t reader;
    int difference;
    bool compatible;
  } cases[] = {
      {packed(1, 4, 9), packed(1, 5, 0), -1, true},
      {packed(1, 5, 9), packed(1, 5, 0), 0, true},
      {packed(1, 6, 0), packed(1, 5, 9), 1, false},
      {packed(2, 0, 0), packed(1, 255, 0), 1, false},
      {packed(1, 0, 0), packed(255, 0, 0), -254, false},
      {packed(0, 0, 0), packed(0, 255, 0), -255, true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(tly_version_compare(c.data, c.reader), c.difference);
    EXPECT_EQ(tly_versions_are_compatible(c.data, c.reader), c.compatible);
  }
  EXPECT_TRUE(tly_version_strings_are_compatible("1.5.0", "1.5.0"));
  EXPECT_TRUE(tly_version_strings_are_compatible("1.4", "1.5.2"));
  EXPECT_FALSE(tly_version_strings_are_compatible("1.5", "1.4"));
  EXPECT_FALSE(tly_version_strings_are_compatible("0.0.0", "0.0.0"));
  EXPECT_FALSE(tly_version_strings_are_compatible("0.1", "0"));
}

TEST(Digest, IsWrittenWhereItIsWanted) {
  std::string digest(17, '#');
  auto* const bytes = reinterpret_cast<uint8_t*>(digest.data());
  EXPECT_EQ(tly_MD5("abc", 3, bytes), bytes);
  EXPECT_EQ(digest, "\x90\x01\x50\x98\x3c\xd2\x4f\xb0\xd6\x96\x3f\x7d\x28\xe1\x7f\x72#");
}

}  // namespace
