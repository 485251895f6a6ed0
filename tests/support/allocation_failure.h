// Makes allocations fail. A program that links allocation_failure takes every block of the C heap
// through it: its own, those of the libraries it loads, and those that functions of the C library
// allocate inside, as opening a file does.
#pragma once

#include <atomic>

namespace tly::test {

// Allocations until the one that fails; negative when none will.
inline std::atomic<int> allocations_left = -1;

// Whose allocations are counted down and fail: those of the threads that set the first, or all.
constinit inline thread_local bool allocations_fail_here = false;
inline std::atomic<bool> allocations_fail_everywhere = false;

// Blocks that were allocated and not yet released.
inline std::atomic<long> live_allocations = 0;

}  // namespace tly::test
