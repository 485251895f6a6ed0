// Each allocation of an operation fails in turn. For programs that link allocation_failure, which
// stands between them and the C heap.
#pragma once

namespace tly::test {

// Allocations until the one that fails; negative when none will.
inline int allocations_left = -1;

// Runs check(result, fired) on what operation() returns, once for each of its allocations failing
// and then undisturbed: whether one failed.
template <typename Operation, typename Check>
void with_each_allocation_failing(Operation operation, Check check) {
  bool fired = true;
  for (int index = 0; fired; ++index) {
    allocations_left = index;
    const auto result = operation();
    fired = allocations_left < 0;
    allocations_left = -1;
    check(result, fired);
  }
}

}  // namespace tly::test
