#include "tallyra/logging.h"

#include <syslog.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <ctime>

#include "common/log.h"
#include "common/owned.h"
#include "common/settings_number.h"
#include "tallyra/settings.h"

// The library's load-time initialisers log, in an order of their own, so everything here is
// constant-initialised and needs no destructor.
constinit uint32_t tly_log_level = TLY_LOG_LEVEL_UNSET;
constinit bool is_registered = false;

namespace {

// Fields are atomic so that one thread may log while another configures: a logging thread may see
// the old value of one field beside the new value of another, each of which is valid by itself.
struct LoggerState {
  std::atomic<pthread_mutex_t*> mutex{nullptr};  // held while a line is written; null for none
  std::atomic<tly_log_func_t> log_func{nullptr};
  std::atomic<uint32_t> kind{TLY_LOGGER_STDERR};
  std::atomic<FILE*> stream{nullptr};  // null until a stream logger was initialised
  pthread_mutex_t mutex_storage{};
};
constinit LoggerState state;

// Held while the mutex in the state's own storage is created or destroyed, never while logging.
constinit pthread_mutex_t storage_guard = PTHREAD_MUTEX_INITIALIZER;

// Holds a mutex, which may be null or a host's of any kind: what this thread could not lock (an
// error-checking mutex that it holds already) it does not unlock either.
class MutexLock {
 public:
  explicit MutexLock(pthread_mutex_t* mutex) noexcept {
    if (mutex != nullptr && locks(mutex)) {
      mutex_ = mutex;
    }
  }
  ~MutexLock() {
    if (mutex_ != nullptr) {
      pthread_mutex_unlock(mutex_);
    }
  }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  static bool locks(pthread_mutex_t* mutex) noexcept {
    const int result = pthread_mutex_lock(mutex);
    if (result == EOWNERDEAD) {
      pthread_mutex_consistent(mutex);
    }
    return result == 0 || result == EOWNERDEAD;
  }

  pthread_mutex_t* mutex_ = nullptr;
};

// Holds a stream's own lock, also when a cancelled thread unwinds.
class StreamLock {
 public:
  explicit StreamLock(FILE* stream) noexcept : stream_(stream) { flockfile(stream_); }
  ~StreamLock() { funlockfile(stream_); }
  StreamLock(const StreamLock&) = delete;
  StreamLock& operator=(const StreamLock&) = delete;

 private:
  FILE* stream_;
};

// Callers log the text of errno: neither the first log call's initialisation nor a written line may
// change it.
class ErrnoGuard {
 public:
  ErrnoGuard() noexcept = default;
  ~ErrnoGuard() { errno = saved_; }
  ErrnoGuard(const ErrnoGuard&) = delete;
  ErrnoGuard& operator=(const ErrnoGuard&) = delete;

 private:
  int saved_ = errno;
};

uint32_t current_level() { return __atomic_load_n(&tly_log_level, __ATOMIC_RELAXED); }
// Stored after the sink that belongs to it: who sees the level sees the sink.
void store_level(uint32_t level) { __atomic_store_n(&tly_log_level, level, __ATOMIC_RELEASE); }
bool host_logger_is_registered() { return __atomic_load_n(&is_registered, __ATOMIC_RELAXED); }

uint32_t level_from_environment() {
  const char* const text = tly_getenv("TLY_API_LOG_LEVEL");
  const int32_t level = text != nullptr ? tly::parse_leading_int32(text).value_or(0) : 0;
  return level > 0 ? static_cast<uint32_t>(level) : 0;
}

enum class StorageOutcome { kPresent, kCreated, kFailed };

StorageOutcome create_mutex_once() {
  const MutexLock lock(&storage_guard);
  if (state.mutex.load(std::memory_order_acquire) != nullptr) {
    return StorageOutcome::kPresent;
  }
  if (pthread_mutex_init(&state.mutex_storage, nullptr) != 0) {
    return StorageOutcome::kFailed;
  }
  state.mutex.store(&state.mutex_storage, std::memory_order_release);
  return StorageOutcome::kCreated;
}

// Whether lines are written under a mutex from now on. A mutex that exists stays in use when the
// setting says no.
bool init_logger_mutex() {
  constexpr char kName[] = "_tly_init_logger_mutex";
  if (!tly_getenv_bool("LOG_THREAD_SAFE", true)) {
    TLY_LOG_DEBUG(
        "[logger] [%s] Thread safety is disabled by environment variable TLY_LOG_THREAD_SAFE",
        kName);
    return false;
  }
  if (host_logger_is_registered()) {
    return true;
  }
  const StorageOutcome outcome = create_mutex_once();
  if (outcome == StorageOutcome::kCreated) {
    std::atexit(&tly_logger_cleanup_mutex_exit_handler);
  } else if (outcome == StorageOutcome::kFailed) {
    TLY_LOG_ERROR("[logger] [%s] failed to initialize logger mutex", kName);
  }
  return outcome != StorageOutcome::kFailed;
}

bool registered_logger_refuses(const char* function) {
  if (!host_logger_is_registered()) {
    return false;
  }
  TLY_LOG_DEBUG("[logger] [%s] registered logger cannot initialize logger", function);
  return true;
}

// Ends every successful initialisation. Kind, stream and level are in place already, so the
// messages of this step reach the new sink at the new level.
void finish_initialisation(const char* function) {
  if (!init_logger_mutex()) {
    TLY_LOG_DEBUG("[logger] [%s] Initialized logger without thread-safety", function);
  }
}

// A registered host may have given no stream; its configuration stays and the line goes to standard
// error.
FILE* usable_stream() {
  FILE* const stream = state.stream.load(std::memory_order_acquire);
  return stream != nullptr ? stream : stderr;
}

TLY_PRINTF(2, 0) void write_line(int level, const char* format, va_list arguments) {
  if (state.stream.load(std::memory_order_acquire) == nullptr && !host_logger_is_registered()) {
    tly_init_stderr_logger(current_level());
  }
  const MutexLock lock(state.mutex.load(std::memory_order_acquire));
  // Read under the lock: a thread that closes a file takes it out of the state under the lock.
  FILE* const stream = usable_stream();
  // Keeps the line whole also against threads that found no mutex yet.
  const StreamLock stream_lock(stream);
  tly_dump_timestamp_logger(stream);
  fputs(tly_priority_level_string_logger(level), stream);
  vfprintf(stream, format, arguments);
  fputc('\n', stream);
  fflush(stream);
}

bool equals_current_configuration(const tly_logger_ctx_t& ctx) {
  return ctx.kind == state.kind.load(std::memory_order_acquire) && ctx.level == current_level() &&
         ctx.mutex == state.mutex.load(std::memory_order_acquire) &&
         ctx.log_func == state.log_func.load(std::memory_order_acquire) &&
         ctx.stream == state.stream.load(std::memory_order_acquire);
}

}  // namespace

void _tly_log(int level, const char* format, ...) {
  const ErrnoGuard keep_errno;
  va_list arguments;
  va_start(arguments, format);
  if (state.kind.load(std::memory_order_acquire) == TLY_LOGGER_SYSLOG) {
    vsyslog(level, format, arguments);
  } else {
    write_line(level, format, arguments);
  }
  va_end(arguments);
}

void __tly_init_logger_default(void) {
  const ErrnoGuard keep_errno;
  const uint32_t level = level_from_environment();
  if (host_logger_is_registered()) {
    // The initialisation below is refused, and its message must find a level that is set.
    uint32_t unset = TLY_LOG_LEVEL_UNSET;
    __atomic_compare_exchange_n(&tly_log_level, &unset, level, false, __ATOMIC_RELAXED,
                                __ATOMIC_RELAXED);
  }
  tly_init_stderr_logger(level);
}

uint32_t tly_set_log_level(uint32_t level) {
  return __atomic_exchange_n(&tly_log_level, level, __ATOMIC_RELEASE);
}

void tly_set_log_func(tly_log_func_t func, uint32_t level) {
  state.log_func.store(func, std::memory_order_release);
  state.kind.store(TLY_LOGGER_FUNC, std::memory_order_release);
  store_level(level);
}

tly_log_func_t tly_get_log_func(void) { return state.log_func.load(std::memory_order_acquire); }

tly_logger_ctx_t* tly_get_logger_ctx(void) {
  auto ctx = tly::allocate_zeroed<tly_logger_ctx_t>();
  if (ctx == nullptr) {
    return nullptr;
  }
  ctx->kind = state.kind.load(std::memory_order_acquire);
  if (ctx->kind == TLY_LOGGER_STDERR || ctx->kind == TLY_LOGGER_FILE) {
    ctx->stream = state.stream.load(std::memory_order_acquire);
  } else if (ctx->kind == TLY_LOGGER_FUNC) {
    ctx->log_func = tly_get_log_func();
  }
  ctx->level = current_level();
  ctx->mutex = state.mutex.load(std::memory_order_acquire);
  return ctx.release();
}

void tly_destroy_logger_ctx(tly_logger_ctx_t* ctx) { std::free(ctx); }

bool _tly_register_logger(const tly_logger_ctx_t* ctx) {
  if (ctx == nullptr) {
    return false;
  }
  if (equals_current_configuration(*ctx)) {
    return true;
  }
  if (ctx->level == TLY_LOG_LEVEL_UNSET ||
      (ctx->kind == TLY_LOGGER_FUNC && ctx->log_func == nullptr)) {
    return false;
  }
  state.mutex.store(ctx->mutex, std::memory_order_release);
  __atomic_store_n(&is_registered, true, __ATOMIC_RELAXED);
  state.kind.store(ctx->kind, std::memory_order_release);
  if (ctx->kind == TLY_LOGGER_FUNC) {
    state.log_func.store(ctx->log_func, std::memory_order_release);
  } else if (ctx->kind == TLY_LOGGER_STDERR || ctx->kind == TLY_LOGGER_FILE) {
    state.stream.store(ctx->stream, std::memory_order_release);
  }
  store_level(ctx->level);
  return true;
}

bool tly_register_logger(const tly_logger_ctx_t* ctx) { return _tly_register_logger(ctx); }

bool tly_init_stderr_logger(uint32_t level) {
  constexpr char kName[] = "tly_init_stderr_logger";
  if (registered_logger_refuses(kName)) {
    return false;
  }
  state.kind.store(TLY_LOGGER_STDERR, std::memory_order_release);
  state.stream.store(stderr, std::memory_order_release);
  store_level(level);
  finish_initialisation(kName);
  return true;
}

bool tly_init_syslog_logger(const char* ident, uint32_t level) {
  constexpr char kName[] = "tly_init_syslog_logger";
  if (registered_logger_refuses(kName)) {
    return false;
  }
  openlog(ident, LOG_PID | LOG_CONS, LOG_DAEMON);
  state.kind.store(TLY_LOGGER_SYSLOG, std::memory_order_release);
  store_level(level);
  finish_initialisation(kName);
  return true;
}

bool tly_init_file_logger(const char* path, uint32_t level) {
  constexpr char kName[] = "tly_init_file_logger";
  if (registered_logger_refuses(kName)) {
    return false;
  }
  tly_close_logger();
  FILE* const file = path != nullptr ? fopen(path, "we") : nullptr;
  if (file == nullptr) {
    tly_init_stderr_logger(level);
    return false;
  }
  state.stream.store(file, std::memory_order_release);
  state.kind.store(TLY_LOGGER_FILE, std::memory_order_release);
  store_level(level);
  finish_initialisation(kName);
  return true;
}

void tly_close_logger(void) {
  if (host_logger_is_registered()) {
    TLY_LOG_DEBUG("[logger] [%s] tried closing a registered logger, skipping closure",
                  "tly_close_logger");
    return;
  }
  const uint32_t kind = state.kind.load(std::memory_order_acquire);
  if (kind == TLY_LOGGER_SYSLOG) {
    closelog();
  } else if (kind == TLY_LOGGER_FILE) {
    FILE* file = nullptr;
    {
      const MutexLock lock(state.mutex.load(std::memory_order_acquire));
      file = state.stream.exchange(stderr, std::memory_order_acq_rel);
    }
    if (file != nullptr && file != stderr) {
      fclose(file);
    }
  }
  tly_init_stderr_logger(current_level());
}

void tly_dump_timestamp_logger(FILE* stream) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  time_t seconds = now.tv_sec;
  long milliseconds = now.tv_nsec / 1'000'000;
  if (milliseconds > 999) {
    milliseconds -= 1000;
    ++seconds;
  }
  tm local{};
  char text[26];
  if (localtime_r(&seconds, &local) == nullptr ||
      std::strftime(text, sizeof(text), "[%Y-%m-%d %H:%M:%S", &local) == 0) {
    text[0] = '\0';
  }
  fprintf(stream, "%s.%03d] ", text, static_cast<int>(milliseconds));
}

const char* tly_priority_level_string_logger(int level) {
  struct LevelTag {
    int level;
    const char* tag;
  };
  static constexpr LevelTag kTags[] = {
      {TLY_LOG_LEVEL_ERROR, "[error] "},
      {TLY_LOG_LEVEL_WARNING, "[warning] "},
      {TLY_LOG_LEVEL_INFO, "[info] "},
      {TLY_LOG_LEVEL_DEBUG, "[debug] "},
  };
  for (const LevelTag& entry : kTags) {
    if (entry.level == level) {
      return entry.tag;
    }
  }
  return "";
}

void tly_logger_cleanup_mutex_exit_handler(void) {
  if (host_logger_is_registered()) {
    return;
  }
  const MutexLock lock(&storage_guard);
  pthread_mutex_t* const mutex = state.mutex.exchange(nullptr, std::memory_order_acq_rel);
  if (mutex != nullptr) {
    pthread_mutex_destroy(mutex);
  }
}
