#include "tallyra/dictionary.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "common/dictionary_table.h"
#include "common/owned.h"
#include "log_capture.h"

namespace {

using testing::ElementsAre;
using Entries = std::vector<std::pair<std::string, std::string>>;

using Dict = tly::Owned<tly_dict_t, &tly_dict_delete>;

Dict dict_of(const std::vector<std::string>& keys) {
  Dict dict(tly_dict_create());
  for (const std::string& key : keys) {
    EXPECT_TRUE(tly_dict_add(dict.get(), key.c_str(), ("value of " + key).c_str()));
  }
  return dict;
}

Entries entries(const Dict& dict) {
  Entries all;
  const auto collect = [](const char* key, const char* value, void* user) {
    static_cast<Entries*>(user)->emplace_back(key, value != nullptr ? value : "(null)");
    return true;
  };
  EXPECT_TRUE(tly_dict_enum(dict.get(), collect, &all));
  return all;
}

std::string keys_in_bucket_order(const Dict& dict) {
  std::string keys;
  for (const auto& [key, value] : entries(dict)) {
    keys += key;
  }
  return keys;
}

std::string get(const Dict& dict, const std::string& key) {
  const char* const value = tly_dict_get(dict.get(), key.c_str());
  return value != nullptr ? value : "(null)";
}

void expect_counts(const Dict& dict, uint32_t n_buckets, uint32_t size, uint32_t n_occupied,
                   uint32_t upper_bound) {
  const auto& [buckets, live, occupied, bound, flags, keys, vals] = *dict->table;
  EXPECT_THAT((std::vector{buckets, live, occupied, bound}),
              ElementsAre(n_buckets, size, n_occupied, upper_bound));
}

TEST(Dictionary, ProbesByGrowingStepsAndRehashesInPlace) {
  expect_counts(dict_of({}), 0, 0, 0, 0);
  // All hash to bucket 1 of four.
  const Dict dict = dict_of({"a", "e", "i"});
  expect_counts(dict, 4, 3, 3, 3);
  EXPECT_EQ(keys_in_bucket_order(dict), "iae");
  ASSERT_TRUE(tly_dict_add(dict.get(), "m", "value of m"));
  expect_counts(dict, 8, 4, 4, 6);
  EXPECT_EQ(keys_in_bucket_order(dict), "iaem");
  EXPECT_EQ(get(dict, "m"), "value of m");
  EXPECT_EQ(get(dict, "q"), "(null)");
}

TEST(Dictionary, HashesTheBytesOfAKeyAsUnsigned) {
  std::vector<std::string> keys = {"\xFF", ""};
  for (const char first : {'\x04', '\x0A', '\x14', '\x1C'}) {
    for (char second = 1; second <= 100; ++second) {
      keys.push_back({first, second});
    }
  }
  // No two of these share a bucket of 1024.
  const Dict dict = dict_of(keys);
  expect_counts(dict, 1024, 402, 402, 788);
  EXPECT_STREQ(dict->table->keys[0], "");
  EXPECT_STREQ(dict->table->keys[255], "\xFF");
  EXPECT_STREQ(dict->table->keys[28 * 31 + 100], "\x1C\x64");
}

TEST(Dictionary, ReplacesAValueAndKeepsTheKey) {
  const Dict dict = dict_of({"a", "b", ""});
  const char* const key = dict->table->keys['a' % 4];
  ASSERT_TRUE(tly_dict_add(dict.get(), "a", nullptr));
  // A full table grows even though nothing is added.
  expect_counts(dict, 8, 3, 3, 6);
  EXPECT_EQ(dict->table->keys['a' % 8], key);
  EXPECT_EQ(tly_dict_get(dict.get(), "a"), nullptr);
  ASSERT_TRUE(tly_dict_add(dict.get(), "a", "again"));
  ASSERT_TRUE(tly_dict_add(dict.get(), key, tly_dict_get(dict.get(), "a")));
  EXPECT_EQ(get(dict, "a"), "again");
  EXPECT_EQ(get(dict, ""), "value of ");
  expect_counts(dict, 8, 3, 3, 6);
}

TEST(Dictionary, AnswersAsAnOrderedMapDoesAndSoDoesItsCopy) {
  std::mt19937 random(7);
  std::map<std::string, std::string> model;
  Dict dict(tly_dict_create());
  for (int i = 0; i < 20000; ++i) {
    const std::string key = std::to_string(random() % 5000) + std::string(random() % 3, '\xE4');
    const std::string value = std::to_string(i);
    ASSERT_TRUE(tly_dict_add(dict.get(), key.c_str(), value.c_str()));
    model[key] = value;
  }
  const Dict copy(tly_dict_dup(dict.get()));
  ASSERT_NE(copy, nullptr);
  for (const Dict* each : {static_cast<const Dict*>(&dict), &copy}) {
    Entries all = entries(*each);
    std::sort(all.begin(), all.end());
    EXPECT_EQ(all, Entries(model.begin(), model.end()));
    EXPECT_EQ(get(*each, "no such key"), "(null)");
  }
  dict.reset();
  for (const auto& [key, value] : model) {
    EXPECT_EQ(get(copy, key), value);
  }
}

TEST(Dictionary, RefusesANullKey) {
  const Dict dict = dict_of({"a"});
  EXPECT_FALSE(tly_dict_add(dict.get(), nullptr, "b"));
  EXPECT_EQ(tly_dict_get(dict.get(), nullptr), nullptr);
  EXPECT_EQ(get(dict_of({}), "a"), "(null)");
}

TEST(Dictionary, DumpsAndEnumeratesInBucketOrder) {
  const Dict dict = dict_of({"b", "a"});
  tly_dict_add(dict.get(), "c", nullptr);
  const tly::test::LogCapture log;
  tly_dict_dump(dict.get(), "options");
  EXPECT_THAT(log.texts(7), ElementsAre("options map values: ", "key=a  val=value of a",
                                        "key=b  val=value of b", "key=c  val=(null)"));
  int visited = 0;
  const auto two = [](const char*, const char*, void* user) {
    return ++*static_cast<int*>(user) < 2;
  };
  EXPECT_FALSE(tly_dict_enum(dict.get(), two, &visited));
  EXPECT_EQ(visited, 2);
}

}  // namespace
