#include "wrapped_calls.h"

#include <pthread.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

using namespace tly::test;

namespace {

bool allocation_fails() {
  if (allocations_until_failure < 0 || allocations_until_failure-- > 0) {
    return false;
  }
  errno = ENOMEM;
  return true;
}

}  // namespace

#define WRAP_ALLOCATION(result, name, parameters, arguments)       \
  extern "C" result __real_##name parameters;                      \
  extern "C" result __wrap_##name parameters {                     \
    return allocation_fails() ? nullptr : __real_##name arguments; \
  }

WRAP_ALLOCATION(void*, malloc, (size_t size), (size))
WRAP_ALLOCATION(void*, calloc, (size_t count, size_t size), (count, size))
WRAP_ALLOCATION(void*, realloc, (void* block, size_t size), (block, size))
WRAP_ALLOCATION(char*, strdup, (const char* text), (text))
WRAP_ALLOCATION(char*, strndup, (const char* text, size_t length), (text, length))

extern "C" int __real_pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*);
extern "C" int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* type) {
  if (mutex_initialisation_fails) {
    return ENOMEM;
  }
  ++mutexes_initialised;
  return __real_pthread_mutex_init(mutex, type);
}

extern "C" void __wrap_vsyslog(int priority, const char* format, va_list arguments) {
  char text[256];
  vsnprintf(text, sizeof(text), format, arguments);
  last_syslog_message = std::to_string(priority) + " " + text;
}
