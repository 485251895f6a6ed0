// Scenarios of calls into the library, run through once for each of their allocations failing.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "allocation_failure.h"
#include "common/owned.h"

namespace tly::test {

// One run through a scenario. Of the allocations made in calls through it one fails at most.
class Pass {
 public:
  // Lets so many succeed before; none fails when the number is negative.
  explicit Pass(int successes) : left_(successes) {}

  bool has_failed() const { return has_failed_; }
  bool last_call_failed() const { return last_call_failed_; }
  // For within a call.
  bool fails_in_this_call() const { return left_ >= 0 && allocations_left < 0; }

  // What the operation returns, whatever it is.
  template <typename Operation>
  auto call(Operation operation, int line = __builtin_LINE()) {
    decltype(operation()) result{};
    allocations_left = left_;
    try {
      result = operation();
    } catch (...) {
      ADD_FAILURE() << "an exception left the library in line " << line;
    }
    const int left = allocations_left.exchange(-1);
    last_call_failed_ = left_ >= 0 && left < 0;
    has_failed_ = has_failed_ || last_call_failed_;
    left_ = std::max(left, -1);
    return result;
  }

  // The same; the result may be null or false when an allocation failed, and only then.
  template <typename Operation>
  auto may(Operation operation, int line = __builtin_LINE()) {
    auto result = call(operation, line);
    EXPECT_TRUE(result || last_call_failed_) << "in line " << line;
    return result;
  }

  // The same; the result must be null or false then.
  template <typename Operation>
  auto whole(Operation operation, int line = __builtin_LINE()) {
    auto result = may(operation, line);
    EXPECT_FALSE(result && last_call_failed_) << "in line " << line;
    return result;
  }

  // The same for a result that somebody has to release.
  template <auto kRelease, typename Operation>
  auto make(Operation operation, int line = __builtin_LINE()) {
    auto* const made = whole(operation, line);
    return Owned<std::remove_pointer_t<decltype(made)>, kRelease>(made);
  }

 private:
  int left_;
  bool has_failed_ = false;
  bool last_call_failed_ = false;
};

// Runs the scenario of the test under way, which functions.txt describes.
void run_scenario(void (*scenario)(Pass& pass));

}  // namespace tly::test

// The function that follows releases all that it makes.
#define SCENARIO(name)                                   \
  static void name(Pass& pass);                          \
  TEST(AllocationFailure, name) { run_scenario(&name); } \
  void name(Pass& pass)
