#include "allocation_failure.h"

#include <dlfcn.h>
#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

// The function of that name of the heap that this one takes its blocks from.
#define JOIN(prefix, name) prefix##name
#define JOIN_EXPANDED(prefix, name) JOIN(prefix, name)
#define HEAP(name) JOIN_EXPANDED(HEAP_PREFIX, name)

// For the libraries, too.
#define VISIBLE extern "C" __attribute__((visibility("default")))

extern "C" {
void* HEAP(malloc)(std::size_t size);
void* HEAP(calloc)(std::size_t count, std::size_t size);
void* HEAP(realloc)(void* block, std::size_t size);
void HEAP(free)(void* block);
}

namespace {

using tly::test::allocations_fail_everywhere;
using tly::test::allocations_fail_here;
using tly::test::allocations_left;
using tly::test::live_allocations;

thread_local bool is_sheltered = false;

bool fails_now() {
  if (is_sheltered || !(allocations_fail_here || allocations_fail_everywhere) ||
      allocations_left < 0 || allocations_left.fetch_sub(1) != 0) {
    return false;
  }
  errno = ENOMEM;
  return true;
}

void* counted(void* block) {
  live_allocations += block != nullptr ? 1 : 0;
  return block;
}

}  // namespace

// The C library declares these with names of its own for the parameters.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)
VISIBLE void* malloc(std::size_t size) {
  return fails_now() ? nullptr : counted(HEAP(malloc)(size));
}

VISIBLE void* calloc(std::size_t count, std::size_t size) {
  return fails_now() ? nullptr : counted(HEAP(calloc)(count, size));
}

VISIBLE void* realloc(void* block, std::size_t size) {
  if (block == nullptr) {
    return malloc(size);
  }
  if (size == 0) {
    free(block);
    return nullptr;
  }
  return fails_now() ? nullptr : HEAP(realloc)(block, size);
}

VISIBLE void free(void* block) {
  live_allocations -= block != nullptr ? 1 : 0;
  HEAP(free)(block);
}

// A sanitizer's own versions of the following do not call the functions above.

VISIBLE char* strndup(const char* text, std::size_t length) {
  const std::size_t copied = strnlen(text, length);
  auto* const copy = static_cast<char*>(malloc(copied + 1));
  if (copy != nullptr) {
    std::copy_n(text, copied, copy);
    copy[copied] = '\0';
  }
  return copy;
}

VISIBLE char* strdup(const char* text) { return strndup(text, std::strlen(text)); }

// A sanitizer calls this in each thread that starts, and ends the process when it fails.
VISIBLE int pthread_getattr_np(pthread_t thread, pthread_attr_t* attributes) {
  is_sheltered = true;
  static const auto next =
      reinterpret_cast<decltype(&pthread_getattr_np)>(dlsym(RTLD_NEXT, "pthread_getattr_np"));
  const int result = next(thread, attributes);
  is_sheltered = false;
  return result;
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)

void* operator new(std::size_t size) {
  void* const block = std::malloc(size);
  return block != nullptr ? block : throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
