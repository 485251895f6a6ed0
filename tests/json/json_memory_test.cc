// Failing allocations, great depth and great width.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "json_support.h"

namespace {

// Allocations that still succeed; without a limit while it is negative.
int allocations_left = -1;

bool may_allocate() {
  if (allocations_left < 0) return true;
  if (allocations_left == 0) return false;
  --allocations_left;
  return true;
}

}  // namespace

// The linker puts these in front of the C library's functions of the same names.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
char* __real_strdup(const char* text);
void* __wrap_malloc(std::size_t size) { return may_allocate() ? __real_malloc(size) : nullptr; }
void* __wrap_calloc(std::size_t count, std::size_t size) {
  return may_allocate() ? __real_calloc(count, size) : nullptr;
}
void* __wrap_realloc(void* block, std::size_t size) {
  return may_allocate() ? __real_realloc(block, size) : nullptr;
}
char* __wrap_strdup(const char* text) { return may_allocate() ? __real_strdup(text) : nullptr; }
}

namespace {

// Runs an action with none, one, two ... allocations until it succeeds, which it must.
void fail_every_allocation(const std::function<bool()>& succeeds) {
  for (int allowed = 0; allowed < 1000; ++allowed) {
    allocations_left = allowed;
    const bool has_succeeded = succeeds();
    allocations_left = -1;
    if (!has_succeeded) continue;
    EXPECT_GT(allowed, 0);
    return;
  }
  ADD_FAILURE() << "does not succeed";
}

// More members, elements and levels than fit into what is set aside in place.
std::string rich_document() {
  std::string text = repeated("[{\"deep\":", 70) + "{";
  for (int i = 0; i < 70; ++i) text += "\"n" + std::to_string(i) + R"(":"a\/b",)";
  return text + R"("list":[1,2],"set":[{},{}],"none":null,"yes":true})" + repeated("}]", 70);
}

TEST(JsonMemory, EveryFailingAllocationIsAFailureWithoutHarm) {
  const std::string text = rich_document();
  const OwnedValue value = parsed(text);
  ASSERT_NE(value, nullptr);
  const auto is_equal = [&](JSON_Value* other) {
    return json_value_equals(value.get(), OwnedValue(other).get()) == 1;
  };
  const auto is_made = [](JSON_Value* made) { return OwnedValue(made) != nullptr; };
  fail_every_allocation([&] { return is_made(json_parse_string(text.c_str())); });
  fail_every_allocation([&] {
    return is_made(json_parse_string_with_comments("/* */ [1, {\"a\": [\"b\"]}] // end\n"));
  });
  fail_every_allocation([&] { return is_equal(json_value_deep_copy(value.get())); });
  fail_every_allocation([&] {
    char* written = json_serialize_to_string_pretty(value.get());
    json_free_serialized_string(written);
    return written != nullptr;
  });
  fail_every_allocation([&] { return json_serialization_size(value.get()) != 0; });
  fail_every_allocation([&] { return json_validate(value.get(), value.get()) == JSONSuccess; });
  fail_every_allocation([&] { return is_made(json_value_init_string("text")); });
}

TEST(JsonMemory, AFailedChangeLeavesTheContainerAndTheValueAsTheyWere) {
  const OwnedValue parsed_tree = parsed(R"({"list":[1],"same":[2]})");
  const OwnedValue built_tree(json_value_init_object());
  json_object_set_value(json_object(built_tree.get()), "list", json_parse_string("[1]"));
  for (JSON_Value* tree : {parsed_tree.get(), built_tree.get()}) {
    JSON_Object* object = json_object(tree);
    JSON_Array* list = json_object_get_array(object, "list");
    std::string before = compact(tree);
    // Passes the sizes at which members, elements and index grow.
    for (int i = 0; i < 40; ++i) {
      const std::string name = "name" + std::to_string(i);
      OwnedValue value(json_value_init_number(i));
      const auto adds = [&](const std::function<JSON_Status()>& add) {
        fail_every_allocation([&] {
          if (add() == JSONSuccess) return true;
          allocations_left = -1;
          EXPECT_EQ(compact(tree), before);
          EXPECT_EQ(json_value_get_parent(value.get()), nullptr);
          return false;
        });
        before = compact(tree);
      };
      adds([&] { return json_array_append_number(list, i); });
      adds([&] { return json_array_replace_string(list, 0, "text"); });
      adds([&] { return json_object_set_value(object, name.c_str(), value.get()); });
      EXPECT_EQ(json_value_get_parent(value.release()), tree);
      adds([&] { return json_object_set_string(object, name.c_str(), "replaced"); });
    }
    EXPECT_EQ(json_object_get_count(object), tree == parsed_tree.get() ? 42U : 41U);
  }
}

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

TEST(JsonMemory, AHundredThousandMembersTakeLinearTime) {
  constexpr int kMembers = 100000;
  std::string text = "{";
  // Names that differ only at their ends, as the numbered ones of a tool do.
  const auto name_of = [](int i) { return "an_instance_" + std::to_string(1000000 + i); };
  for (int i = 0; i < kMembers; ++i) text += "\"" + name_of(i) + "\":[],";
  const auto start = std::chrono::steady_clock::now();
  const OwnedValue value = parsed(text + "}");
  const OwnedValue built(json_value_init_object());
  for (int i = 0; i < kMembers; ++i) {
    const std::string name = name_of(i);
    ASSERT_EQ(json_object_has_value(json_object(value.get()), name.c_str()), 1);
    json_object_set_value(json_object(built.get()), name.c_str(), json_value_init_array());
  }
  EXPECT_EQ(json_value_equals(value.get(), built.get()), 1);
  EXPECT_EQ(parsed(text + "\"" + name_of(kMembers - 1) + "\":1}"), nullptr);
  // Quadratic time would be some 10^10 comparisons.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

}  // namespace
