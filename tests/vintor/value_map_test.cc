// The value map and the offset table, mostly against plain maps by small random cases with many
// equal names and offsets.
#include "vintor/value_map.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "vintor/offset_table.h"

namespace vintor::collector {
namespace {

class Cases : public testing::Test {
 protected:
  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_()) % limit; }
  std::string any_name(std::uint32_t names) { return std::to_string(below(names)); }

  // Another sample: mostly the names of the one before, some of them other ones, more or fewer.
  std::vector<std::string> next_names(std::vector<std::string> names) {
    if (below(4) == 0) {
      names.resize(below(2) == 0 ? below(12) : names.size(), "0");
      for (std::uint32_t changes = below(3); changes > 0 && !names.empty(); --changes) {
        names[below(static_cast<std::uint32_t>(names.size()))] = any_name(12);
      }
    }
    return names;
  }

  std::unique_ptr<ValueMap> any_sample() {
    ValueMapBuilder builder(nullptr, 0);
    for (std::uint32_t left = below(12); left > 0; --left) {
      builder.add({"s", "i", any_name(12)}, left);
    }
    return builder.finish();
  }

  std::mt19937 random_;
};

TEST_F(Cases, ASampleHoldsTheLastValueOfEachOfItsNamesWhateverTheOneBeforeHeld) {
  std::unique_ptr<ValueMap> before;
  std::vector<std::string> names;
  for (int sample = 0; sample < 2000; ++sample) {
    const std::vector<std::string> names_before = std::exchange(names, next_names(names));
    ValueMapBuilder builder(before ? before->names() : nullptr, below(100));
    std::map<std::string, double> expected;
    for (const std::string& name : names) {
      const double value = below(1000);
      builder.add({"section", "a:b", name}, value);
      expected["section:a:b:" + name] = value;
    }
    auto sampled = builder.finish();
    EXPECT_EQ(before && sampled->names() == before->names(), before && names == names_before);
    for (std::uint32_t name = 0; name < 12; ++name) {
      const std::string full_name = "section:a:b:" + std::to_string(name);
      const std::uint32_t position = sampled->names()->find(full_name);
      ASSERT_EQ(position != ValueNames::kNowhere, expected.contains(full_name)) << full_name;
      if (position != ValueNames::kNowhere) {
        ASSERT_EQ(sampled->at(position).fp64, expected[full_name]);
      }
    }
    before = std::move(sampled);
  }
}

// Two names are the same when their whole texts are.
TEST_F(Cases, ANameIsThatOfTheSampleBeforeOnlyAsAWhole) {
  constexpr NameParts kParts[] = {{"a", "b", "c"},   {"x", "b", "c"},  {"a", "x", "c"},
                                  {"a", "b", "x"},   {"", "", "b:c"},  {"a:b", "", ""},
                                  {"a", "b", "cc"},  {"aa", "b", "c"}, {"a", "bb", "c"},
                                  {"a", "b:c", "d"}, {"a", "b", "c:d"}};
  for (const NameParts& before : kParts) {
    for (const NameParts& parts : kParts) {
      ValueMapBuilder first(nullptr, 0);
      first.add(before, 1);
      ValueMapBuilder second(first.finish()->names(), 0);
      second.add(parts, 2);
      std::string name;
      append_name(name, parts);
      const auto sample = second.finish();
      ASSERT_EQ(sample->names()->at(0), name);
      EXPECT_EQ(sample->names()->find(name), 0U);
    }
  }
}

using Counters = std::vector<tly_counter_info_t*>;
using Area = std::vector<char>;

// What a read writes when the names were registered at those offsets.
Area expected_area(Area area, const Counters& counters,
                   const std::map<std::uint32_t, std::string>& name_at, const ValueMap& sample) {
  for (const tly_counter_info_t* counter : counters) {
    if (counter == nullptr) {
      continue;
    }
    tly_counter_value_t value{.u64 = counter->data_type == TLY_DATA_TYPE_UINT64 ? UINT64_MAX : 0};
    const auto name = name_at.find(counter->offset);
    const std::uint32_t position =
        name != name_at.end() ? sample.names()->find(name->second) : ValueNames::kNowhere;
    if (position != ValueNames::kNowhere) {
      value = sample.at(position);
    }
    std::memcpy(area.data() + counter->offset, &value, sizeof value);
  }
  return area;
}

TEST_F(Cases, AnOffsetBelongsToTheCounterThatWasRegisteredLast) {
  const Area untouched(1000, '\xA5');
  for (int round = 0; round < 500; ++round) {
    std::unique_ptr<ValueMap> sample = any_sample();
    OffsetTable table;
    std::map<std::uint32_t, std::string> name_at;
    std::vector<std::string> names(40);
    std::vector<tly_counter_info_t> counters(names.size());
    Counters all;
    for (std::uint32_t registered = 0; registered < counters.size();) {
      Counters group(below(2), nullptr);
      for (std::uint32_t left = below(10); left > 0 && registered < counters.size(); --left) {
        tly_counter_info_t& counter = counters[registered];
        names[registered] = "s:i:" + any_name(14);
        counter.name = below(10) == 0 ? nullptr : names[registered].data();
        // Unaligned and overlapping ones, some of them used again, some after all others.
        counter.offset = 5 * below(20) + 10 * below(2) * registered++;
        counter.data_type = below(2) == 0 ? TLY_DATA_TYPE_UINT64 : TLY_DATA_TYPE_FP64;
        group.push_back(&counter);
        if (counter.name != nullptr) {
          name_at[counter.offset] = counter.name;
        }
      }
      table.add(group);
      all.insert(all.end(), group.begin(), group.end());
      if (below(3) == 0) {
        table.copy_values(group, *std::exchange(sample, any_sample()), Area(1000).data());
      }
      Area area = untouched;
      table.copy_values(all, *sample, area.data());
      EXPECT_EQ(area, expected_area(untouched, all, name_at, *sample));
    }
  }
}

}  // namespace
}  // namespace vintor::collector
