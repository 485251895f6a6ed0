// The exported face of the collector: each function forwards to one operation and turns exceptions
// and null arguments into its failure result.
#include <exception>

#include "common/log.h"
#include "tallyra/vintor_provider.h"
#include "vintor/collector.h"
#include "vintor/command_runner.h"
#include "vintor/discovery.h"

using vintor::collector::Collector;

namespace {

// `wrapper` names the exported function in the log. Not noexcept: a thread that is cancelled while
// the tool runs must unwind.
template <typename Result, typename Operation>
Result call_safely(const char* wrapper, Result failure, Operation operation) {
  try {
    return operation();
  } catch (const std::exception& error) {
    TLY_LOG_ERROR("[vintor] %s: %s", wrapper, error.what());
    return failure;
  }
}

}  // namespace

void* vintor_collector_initialize_ctx(void) {
  return call_safely<void*>(__func__, nullptr, [] { return new Collector; });
}

bool vintor_collector_start(void* context) {
  return call_safely(__func__, false, [context] {
    return context != nullptr && static_cast<Collector*>(context)->startCollection();
  });
}

void vintor_collector_stop(void* context) {
  call_safely(__func__, false, [context] {
    if (context != nullptr) {
      static_cast<Collector*>(context)->stopCollection();
    }
    return true;
  });
}

void vintor_collector_destroy_ctx(void* context) {
  auto* const collector = static_cast<Collector*>(context);
  if (collector != nullptr && collector->isOutOfReach()) {
    collector->abandonCollection();  // its thread uses it until it ends, so it is never released
    return;
  }
  delete collector;
}

bool vintor_collector_is_available(void) {
  return call_safely(__func__, false, [] { return vintor::collector::is_available(); });
}

bool vintor_collector_init_provider(tly_provider_t* provider, const tly_options_t* options) {
  return call_safely(__func__, false, [=] {
    return provider != nullptr && vintor::collector::init_provider(provider, options);
  });
}

bool vintor_collector_add_group(void* context, tly_counter_group_t* group) {
  return call_safely(__func__, false, [=] {
    return context != nullptr && group != nullptr &&
           static_cast<Collector*>(context)->addGroup(group);
  });
}

bool vintor_collector_read_group(void* context, tly_counter_group_t* group,
                                 tly_counter_value_t* values) {
  return call_safely(__func__, false, [=] {
    return context != nullptr && group != nullptr && values != nullptr &&
           static_cast<Collector*>(context)->fillBuffer(group, values);
  });
}
