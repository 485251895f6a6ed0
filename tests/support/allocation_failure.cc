#include "allocation_failure.h"

#include <cerrno>
#include <cstddef>

namespace {

bool fails_now() {
  if (tly::test::allocations_left < 0 || tly::test::allocations_left-- > 0) {
    return false;
  }
  errno = ENOMEM;
  return true;
}

}  // namespace

#define WRAP_ALLOCATION(Result, name, parameters, arguments) \
  extern "C" Result __real_##name parameters;                \
  extern "C" Result __wrap_##name parameters {               \
    return fails_now() ? nullptr : __real_##name arguments;  \
  }
WRAP_ALLOCATION(void*, malloc, (std::size_t size), (size))
WRAP_ALLOCATION(void*, calloc, (std::size_t count, std::size_t size), (count, size))
WRAP_ALLOCATION(void*, realloc, (void* block, std::size_t size), (block, size))
WRAP_ALLOCATION(char*, strdup, (const char* text), (text))
WRAP_ALLOCATION(char*, strndup, (const char* text, std::size_t length), (text, length))
