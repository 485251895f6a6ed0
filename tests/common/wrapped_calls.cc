#include "wrapped_calls.h"

#include <pthread.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

using namespace tly::test;

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
// What becomes of the call where the C library checks its buffers.
extern "C" void __wrap___vsyslog_chk(int priority, int, const char* format, va_list arguments) {
  __wrap_vsyslog(priority, format, arguments);
}
