#include "executor/executor.h"

#include "executor/host_counters.h"
#include "executor/process_events.h"

namespace tly::executor {
namespace {

struct KnownProvider {
  std::string_view name;
  ProviderKind kind;
  std::unique_ptr<Provider> (*make)();
};

template <typename T>
std::unique_ptr<Provider> make() {
  return std::make_unique<T>();
}

constexpr KnownProvider kKnownProviders[] = {
    {"host", ProviderKind::kCounters, &make<HostCounters>},
    {"process", ProviderKind::kEvents, &make<ProcessEvents>},
};

std::unique_ptr<Provider> make_provider(ProviderKind kind, std::string_view name) {
  for (const KnownProvider& known : kKnownProviders) {
    if (known.kind == kind && known.name == name) {
      return known.make();
    }
  }
  return nullptr;
}

}  // namespace

std::optional<StartedProvider> Executor::start(ProviderKind kind, std::string_view name) {
  std::unique_ptr<Provider> provider = make_provider(kind, name);
  if (!provider) {
    return std::nullopt;
  }
  StartedProvider started{0, provider->describe()};
  const std::lock_guard lock(mutex_);
  do {
    started.remote_id = ++last_remote_id_;
  } while (started.remote_id == 0 || providers_.contains(started.remote_id));
  providers_.emplace(started.remote_id, std::move(provider));
  return started;
}

std::optional<Bytes> Executor::progress(std::uint32_t remote_id, std::uint16_t source_index) {
  const std::lock_guard lock(mutex_);
  const auto entry = providers_.find(remote_id);
  return entry != providers_.end() ? entry->second->progress(source_index) : std::nullopt;
}

std::int32_t Executor::terminate(std::uint32_t remote_id) {
  const std::lock_guard lock(mutex_);
  return providers_.erase(remote_id) == 1 ? 0 : -1;
}

}  // namespace tly::executor
