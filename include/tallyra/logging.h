/* Logging: one process-wide logger for the library, with syslog levels and four kinds of sink.
 *
 * Conventions
 *  - A message of level L is written when L <= tly_log_level. Levels are compared unsigned.
 *  - Nobody has to configure the logger: the first log call reads the level from TLY_API_LOG_LEVEL
 *    or API_LOG_LEVEL (0, nothing at all, when neither is set) and logs to standard error.
 *  - Boolean results: false means that nothing was changed, unless a function says otherwise.
 *  - Any thread may log, also while another reconfigures: a line goes to the old sink or to the new
 *    one. Configuration takes no lock: do it from one thread at a time, and the first time before
 *    other threads log, since the first log call of an unconfigured logger configures it.
 *  - Logging keeps errno, as far as a host's log function does.
 *  - A host that has a logger of its own fills a tly_logger_ctx_t and registers it; from then on
 *    the library's lines go to the host's sink under the host's mutex, and the library refuses to
 *    re-initialise or close it.
 *
 * What a host must not do: close or free a stream, a log function's module or a mutex that is in
 * use here; close a file logger while others log with thread safety switched off
 * (TLY_LOG_THREAD_SAFE=no); start another kind over a file logger without tly_close_logger(), which
 * alone closes the file. */
#ifndef TALLYRA_LOGGING_H
#define TALLYRA_LOGGING_H

#include <pthread.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

#include "tallyra/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The levels that the library emits: the syslog priorities (RFC 5424, table 2). */
enum {
  TLY_LOG_LEVEL_ERROR = 3,
  TLY_LOG_LEVEL_WARNING = 4,
  TLY_LOG_LEVEL_INFO = 6,
  TLY_LOG_LEVEL_DEBUG = 7
};

/* The value of tly_log_level before anything was configured. */
#define TLY_LOG_LEVEL_UNSET 0xFFFFFFFFu

typedef enum tly_logger_type {
  TLY_LOGGER_STDERR = 0,
  TLY_LOGGER_SYSLOG = 1,
  TLY_LOGGER_FILE = 2,
  TLY_LOGGER_FUNC = 3
} tly_logger_type_t;

/* A host's log function. It receives the raw format and arguments of every admitted message. It may
 * be called from any thread, is called without a lock, and must not throw. */
typedef void (*tly_log_func_t)(int level, const char* format, ...);

/* A logger configuration on its way from a host to the library. Registration copies the fields; the
 * stream, the function and the mutex stay the host's and must outlive the library. */
typedef struct tly_logger_ctx {
  uint32_t kind;           /* a tly_logger_type_t */
  FILE* stream;            /* kinds STDERR and FILE only, else null */
  tly_log_func_t log_func; /* kind FUNC only, else null */
  uint32_t level;          /* the highest level that is written */
  pthread_mutex_t* mutex;  /* held while a line is written to the stream; null for none */
} tly_logger_ctx_t;

/* The configured level. A host may read and write it directly. */
extern TLY_API uint32_t tly_log_level;

/* True from the first registration that changed the configuration until the process ends. */
extern TLY_API bool is_registered;

/* Logs one message by the call convention: the level is checked before any argument is evaluated,
 * an unset level is first read from the environment, and a log function is preferred to the stream.
 */
#define TLY_LOG(level, ...)                                      \
  do {                                                           \
    if (tly_log_is_enabled((uint32_t)(level))) {                 \
      const tly_log_func_t tly_log_target_ = tly_get_log_func(); \
      if (tly_log_target_) {                                     \
        tly_log_target_((level), __VA_ARGS__);                   \
      } else {                                                   \
        _tly_log((level), __VA_ARGS__);                          \
      }                                                          \
    }                                                            \
  } while (0)

/* Writes one line: timestamp, level tag, message, newline; then flushes. Never checks the level.
 * With a syslog logger the message goes to vsyslog(3) instead, and without any stream to standard
 * error. Write errors are ignored. */
TLY_API void _tly_log(int level, const char* format, ...) TLY_PRINTF(2, 3);

/* Reads the level from the environment and starts a standard-error logger with it. A text that is
 * no number, or a negative number, counts as 0. */
TLY_API void __tly_init_logger_default(void);

/* Sets the level without validation and returns the previous one. */
TLY_API uint32_t tly_set_log_level(uint32_t level);

/* Sends messages to `func` at `level`. The stream and the mutex stay as they are. A null function
 * leaves kind FUNC without a function; messages then go to the stream. */
TLY_API void tly_set_log_func(tly_log_func_t func, uint32_t level);

/* The current log function, or null. */
TLY_API tly_log_func_t tly_get_log_func(void);

/* A copy of the current configuration, to be released with tly_destroy_logger_ctx(); null when the
 * allocation fails. */
TLY_API tly_logger_ctx_t* tly_get_logger_ctx(void);

/* Releases a context; null is allowed. */
TLY_API void tly_destroy_logger_ctx(tly_logger_ctx_t* ctx);

/* Makes the library log into the host's sink. Returns false, changing nothing, for a null context,
 * an unset level, or kind FUNC without a function. A context equal to the present configuration
 * returns true and changes nothing. */
TLY_API bool _tly_register_logger(const tly_logger_ctx_t* ctx);
TLY_API bool tly_register_logger(const tly_logger_ctx_t* ctx);

/* Start a logger of one kind at `level`. They return false when a registered logger is in use, and
 * the file form also when `path` cannot be opened for writing (an existing file is truncated); it
 * then falls back to standard error at the same level. `ident` is kept by openlog(3) and must stay
 * valid. Lines are written under a mutex unless the setting LOG_THREAD_SAFE says no. */
TLY_API bool tly_init_stderr_logger(uint32_t level);
TLY_API bool tly_init_syslog_logger(const char* ident, uint32_t level);
TLY_API bool tly_init_file_logger(const char* path, uint32_t level);

/* Closes a syslog or file logger and goes on with standard error at the present level. The log
 * function stays. A registered logger is left alone. */
TLY_API void tly_close_logger(void);

/* Writes the local time as "[YYYY-MM-DD HH:MM:SS.mmm] ". */
TLY_API void tly_dump_timestamp_logger(FILE* stream);

/* The tag of a level with its trailing blank, such as "[error] "; "" for other levels. */
TLY_API const char* tly_priority_level_string_logger(int level);

/* Destroys the library's own mutex; runs at process exit or unload. */
TLY_API void tly_logger_cleanup_mutex_exit_handler(void);

/* Logs `length` bytes as lines of 16 at debug level: hexadecimal codes, then the printable ASCII
 * characters, '.' standing for any other byte. */
TLY_API void log_hex(const void* data, uint64_t length);

/* The level check of TLY_LOG: one load and one compare when the level does not admit the message.
 * When it does, the level is loaded again so that the sink set together with it is the one used. */
static inline bool tly_log_is_enabled(uint32_t level) {
  const uint32_t configured = __atomic_load_n(&tly_log_level, __ATOMIC_RELAXED);
  if (__builtin_expect(configured < level, 1)) {
    return false;
  }
  if (__builtin_expect(configured == TLY_LOG_LEVEL_UNSET, 0)) {
    __tly_init_logger_default();
  }
  return __atomic_load_n(&tly_log_level, __ATOMIC_ACQUIRE) >= level;
}

#ifdef __cplusplus
}
#endif

#endif
