// Great depth and great width.
#include <gtest/gtest.h>

#include "json_support.h"

namespace {

TEST(JsonMemory, AnyDepthIsCopiedComparedWrittenAndReleased) {
  constexpr std::size_t kDepth = 100000;
  OwnedValue value(json_value_init_array());
  for (std::size_t i = 1; i < kDepth; ++i) {
    OwnedValue outer(i % 2 == 0 ? json_value_init_array() : json_value_init_object());
    const JSON_Status status =
        i % 2 == 0 ? json_array_append_value(json_array(outer.get()), value.get())
                   : json_object_set_value(json_object(outer.get()), "a", value.get());
    ASSERT_EQ(status, JSONSuccess);
    static_cast<void>(value.release());
    value = std::move(outer);
  }
  const OwnedValue copy(json_value_deep_copy(value.get()));
  EXPECT_EQ(json_value_equals(value.get(), copy.get()), 1);
  EXPECT_EQ(json_validate(value.get(), copy.get()), JSONSuccess);
  EXPECT_EQ(json_serialization_size(value.get()), kDepth / 2 * 8 + 1);
  // From the outside in, which asks of each container whether it is inside the new one.
  const OwnedValue grown(json_value_init_array());
  JSON_Value* inner = grown.get();
  for (std::size_t i = 0; i < kDepth; ++i) {
    JSON_Value* next = json_value_init_array();
    ASSERT_EQ(json_array_append_value(json_array(inner), next), JSONSuccess);
    inner = next;
  }
}

// Quadratic time would be some 10^11 comparisons, which the time limit of a test does not allow.
TEST(JsonMemory, ManyMembersTakeLinearTime) {
  constexpr int kMembers = 400000;
  std::string text = "{";
  // Names that differ only at their ends, as the numbered ones of a tool do.
  const auto name_of = [](int i) { return "an_instance_" + std::to_string(1000000 + i); };
  for (int i = 0; i < kMembers; ++i) text += "\"" + name_of(i) + "\":[],";
  const OwnedValue value = parsed(text + "}");
  const OwnedValue built(json_value_init_object());
  for (int i = 0; i < kMembers; ++i) {
    const std::string name = name_of(i);
    ASSERT_EQ(json_object_has_value(json_object(value.get()), name.c_str()), 1);
    json_object_set_value(json_object(built.get()), name.c_str(), json_value_init_array());
  }
  EXPECT_EQ(json_value_equals(value.get(), built.get()), 1);
  EXPECT_EQ(parsed(text + "\"" + name_of(kMembers - 1) + "\":1}"), nullptr);
}

}  // namespace
