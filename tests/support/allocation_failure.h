// Makes allocations fail. A program that links allocation_failure takes every block of the C heap
// through it: its own, those of the libraries it loads, and those that functions of the C library
// allocate inside, as opening a file does.
#pragma once

#include <atomic>

namespace tly::test {

// Allocations until the one that fails; negative when none will.
inline std::atomic<int> allocations_left = -1;

// Blocks that were allocated and not yet released.
inline std::atomic<long> live_allocations = 0;

// While alive, lets some allocations through and makes the next one fail, once, on whatever thread
// it happens.
struct FailingAllocation {
  explicit FailingAllocation(int successes = 0) { allocations_left = successes; }
  ~FailingAllocation() { allocations_left = -1; }
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  static bool has_failed() { return allocations_left < 0; }
};

// Runs check(result, fired) on what operation() returns, once for each of its allocations failing
// and then undisturbed: whether one failed.
template <typename Operation, typename Check>
void with_each_allocation_failing(Operation operation, Check check) {
  bool fired = true;
  for (int index = 0; fired; ++index) {
    const auto result = [&] {
      const FailingAllocation failing(index);
      auto returned = operation();
      fired = FailingAllocation::has_failed();
      return returned;
    }();
    check(result, fired);
  }
}

}  // namespace tly::test
