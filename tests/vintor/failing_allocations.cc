#include "failing_allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> remaining = -1;  // allocations before the one that fails; negative for none

bool fails_now() { return remaining >= 0 && remaining-- == 0; }

}  // namespace

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
char* __real_strdup(const char* text);

void* __wrap_malloc(size_t size) { return fails_now() ? nullptr : __real_malloc(size); }
void* __wrap_calloc(size_t count, size_t size) {
  return fails_now() ? nullptr : __real_calloc(count, size);
}
void* __wrap_realloc(void* block, size_t size) {
  return fails_now() ? nullptr : __real_realloc(block, size);
}
char* __wrap_strdup(const char* text) { return fails_now() ? nullptr : __real_strdup(text); }
}

void* operator new(std::size_t size) {
  void* const block = fails_now() ? nullptr : __real_malloc(size);
  return block != nullptr ? block : throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace tly::test {

void fail_allocation(long nth) { remaining = nth; }

bool allocation_has_failed() { return remaining < 0; }

void end_failing_allocation() { remaining = -1; }

}  // namespace tly::test
