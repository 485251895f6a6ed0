// The functions that libqpx_client.so exports: plain values in and out of the executor become the
// records of the interface. No exception leaves them, and on failure nothing was written.

#include <cxxabi.h>

#include <cstring>
#include <type_traits>

#include "common/log.h"
#include "common/owned.h"
#include "executor/executor.h"
#include "tallyra/qpx_client.h"

namespace {

using tly::Owned;
using tly::OwnedHeap;
using tly::OwnedString;
using tly::executor::Bytes;
using tly::executor::Executor;
using tly::executor::ProviderKind;
using tly::executor::Source;
using tly::executor::StartedProvider;
namespace executor = tly::executor;

// By this text an installation knows the file for this project's, which it may replace.
[[gnu::used]] constexpr char kIdentity[] = "Tallyra stand-in for a remote-executor client";

using OwnedSources = Owned<tly_source_array_t, &tly_destroy_source_array>;
using OwnedSource = Owned<tly_source_t, &tly_destroy_source>;

// What operation() returns, or `failure` when it throws. Cancellation passes, as it must.
template <typename Operation, typename Result>
Result guarded(const char* name, Result failure, Operation operation) {
  try {
    return operation();
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (const std::exception& error) {
    TLY_LOG_ERROR("[remote executor] %s: %s", name, error.what());
  } catch (...) {
    TLY_LOG_ERROR("[remote executor] %s: unknown exception", name);
  }
  return failure;
}

// A copy on the C heap, terminated by a NUL; null when memory runs out.
OwnedHeap<char> heap_copy(const void* bytes, std::size_t size) {
  OwnedHeap<char> copy(static_cast<char*>(std::malloc(size + 1)));
  if (copy) {
    std::memcpy(copy.get(), bytes, size);
    copy.get()[size] = '\0';
  }
  return copy;
}

OwnedString heap_text(const std::string& text) { return heap_copy(text.data(), text.size()); }

OwnedSources make_sources(const std::vector<Source>& sources) {
  OwnedSources array(tly_create_source_array());
  for (const Source& source : sources) {
    OwnedSource record(tly_create_source(source.id.c_str(), source.tag.c_str()));
    if (!array || !tly_source_array_append(array.get(), record.get())) {
      return nullptr;
    }
    static_cast<void>(record.release());
  }
  return array;
}

OwnedHeap<tly_event_provider_config_t> make_configuration(const executor::Configuration& numbers) {
  auto record = tly::allocate_zeroed<tly_event_provider_config_t>();
  if (record) {
    *record = {numbers.value_64, numbers.value_32, numbers.value_8a, numbers.value_8b};
  }
  return record;
}

bool fill_details(const StartedProvider& started, ProviderKind kind,
                  qpx_event_provider_details_t* details) {
  const executor::Description& from = started.description;
  const bool has_sources = kind == ProviderKind::kEvents;
  const bool has_configuration = from.configuration.has_value();
  OwnedString name = heap_text(from.name);
  OwnedString description = heap_text(from.description);
  OwnedString type_system_json = heap_text(from.type_system_json);
  OwnedSources sources(has_sources ? make_sources(from.sources) : nullptr);
  auto configs = has_configuration ? make_configuration(*from.configuration) : nullptr;
  if (!name || !description || !type_system_json || (has_sources && !sources) ||
      (has_configuration && !configs)) {
    return false;
  }
  *details = {started.remote_id,
              name.release(),
              description.release(),
              type_system_json.release(),
              sources.release(),
              configs.release(),
              0,
              started.remote_id};
  return true;
}

bool create(const char* function, void* ctx, ProviderKind kind, const char* name,
            qpx_event_provider_details_t* details) {
  if (ctx == nullptr || name == nullptr || details == nullptr) {
    return false;
  }
  return guarded(function, false, [&] {
    auto* const server = static_cast<Executor*>(ctx);
    const std::optional<StartedProvider> started = server->start(kind, name);
    if (!started) {
      return false;
    }
    const bool is_filled = fill_details(*started, kind, details);
    if (!is_filled) {
      server->terminate(started->remote_id);
    }
    return is_filled;
  });
}

}  // namespace

extern "C" {

TLY_API void* qpx_client_init() {
  return guarded("qpx_client_init", static_cast<void*>(nullptr), []() -> void* {
    auto created = std::make_unique<Executor>();
    // The first message sets the logger up, before several threads log.
    TLY_LOG_DEBUG("[remote executor] serving from within this process");
    return created.release();
  });
}

TLY_API void qpx_client_destroy(void* ctx) { delete static_cast<Executor*>(ctx); }

TLY_API bool qpx_client_event_provider_create(void* ctx, const char* name,
                                              const tly_custom_options* /*options*/,
                                              qpx_event_provider_details_t* details) {
  return create("qpx_client_event_provider_create", ctx, ProviderKind::kEvents, name, details);
}

TLY_API bool qpx_client_counter_provider_create(void* ctx, const char* name,
                                                const tly_options_t* /*options*/,
                                                qpx_event_provider_details_t* details) {
  return create("qpx_client_counter_provider_create", ctx, ProviderKind::kCounters, name, details);
}

TLY_API bool qpx_client_event_provider_progress(void* ctx, uint32_t remote_id,
                                                uint16_t source_index, void** buffer,
                                                uint64_t* size) {
  if (ctx == nullptr || buffer == nullptr || size == nullptr) {
    return false;
  }
  return guarded("qpx_client_event_provider_progress", false, [&] {
    const std::optional<Bytes> bytes =
        static_cast<Executor*>(ctx)->progress(remote_id, source_index);
    if (!bytes) {
      return false;
    }
    OwnedHeap<char> copy;
    if (!bytes->empty() && !(copy = heap_copy(bytes->data(), bytes->size()))) {
      return false;
    }
    *buffer = copy.release();
    *size = bytes->size();
    return true;
  });
}

TLY_API int32_t qpx_client_event_provider_terminate(void* ctx, uint32_t remote_id) {
  if (ctx == nullptr) {
    return -1;
  }
  return guarded("qpx_client_event_provider_terminate", int32_t{-1},
                 [&] { return static_cast<Executor*>(ctx)->terminate(remote_id); });
}

TLY_API bool qpx_client_run_command(void* ctx, const char* command, bool flag, uint32_t time_limit,
                                    char** output, uint64_t* length) {
  if (ctx == nullptr || command == nullptr) {
    return false;
  }
  return guarded("qpx_client_run_command", false, [&] {
    const executor::CommandResult result =
        static_cast<Executor*>(ctx)->run_command(command, {flag, std::chrono::seconds(time_limit)});
    if (result.outcome != executor::CommandOutcome::kSucceeded) {
      TLY_LOG_DEBUG("[remote executor] the command %s: %s", executor::outcome_text(result.outcome),
                    command);
      return false;
    }
    OwnedString text;
    if (output != nullptr && !(text = heap_text(result.output))) {
      return false;
    }
    if (output != nullptr) {
      *output = text.release();
    }
    if (length != nullptr) {
      *length = result.output.size();
    }
    return true;
  });
}

}  // extern "C"

static_assert(std::is_same_v<decltype(&qpx_client_init), qpx_client_init_t>);
static_assert(std::is_same_v<decltype(&qpx_client_destroy), qpx_client_destroy_t>);
static_assert(std::is_same_v<decltype(&qpx_client_event_provider_create),
                             qpx_client_event_provider_create_t>);
static_assert(std::is_same_v<decltype(&qpx_client_counter_provider_create),
                             qpx_client_counter_provider_create_t>);
static_assert(std::is_same_v<decltype(&qpx_client_event_provider_progress),
                             qpx_client_event_provider_progress_t>);
static_assert(std::is_same_v<decltype(&qpx_client_event_provider_terminate),
                             qpx_client_event_provider_terminate_t>);
static_assert(std::is_same_v<decltype(&qpx_client_run_command), qpx_client_run_command_t>);
