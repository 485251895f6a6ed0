/* Marks what the library exports, and the attributes its declarations use. */
#ifndef TALLYRA_EXPORT_H
#define TALLYRA_EXPORT_H

#define TLY_API __attribute__((visibility("default")))

/* printf checking: FORMAT is the 1-based position of the format argument, FIRST that of the first
 * variadic one (0 for a va_list). */
#define TLY_PRINTF(FORMAT, FIRST) __attribute__((format(printf, FORMAT, FIRST)))

/* Around a record that ends in a flexible array, which C has and C++ compilers only accept. */
#define TLY_FLEXIBLE_ARRAY_BEGIN \
  _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wpedantic\"")
#define TLY_FLEXIBLE_ARRAY_END _Pragma("GCC diagnostic pop")

#endif
