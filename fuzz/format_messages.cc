// Has every log message of a fuzzer formatted and thrown away, so that what it prints is read.
#include <cstdarg>
#include <cstdio>

#include "tallyra/logging.h"

namespace {

TLY_PRINTF(2, 3) void format_message(int, const char* format, ...) {
  char message[1024];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message, sizeof message, format, arguments);
  va_end(arguments);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  tly_set_log_func(&format_message, TLY_LOG_LEVEL_DEBUG);
  return 0;
}
