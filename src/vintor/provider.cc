// The provider "vintor": its callbacks in the order of their calls, then its record.
#include <cstdlib>

#include "common/load_order.h"
#include "common/log.h"
#include "common/owned.h"
#include "common/printable.h"
#include "tallyra/vintor_provider.h"
#include "vintor/collector.h"

namespace {

// Version 1.0: the major number in the upper 16 bits.
constexpr std::int32_t kVersion = 1 << 16;

void release_components(tly_provider_t* provider) {
  for (std::uint16_t i = 0; i < provider->num_components; ++i) {
    tly_free_component_info(provider->components[i]);
  }
  std::free(provider->components);
  provider->components = nullptr;
  provider->num_components = 0;
}

// The collector that serves the group, or null.
void* collector_of(const tly_counter_group_t* group) {
  return group != nullptr && group->provider != nullptr ? group->provider->context : nullptr;
}

}  // namespace

bool vintor_provider_initialize(tly_provider_t* provider, const tly_options_t* options) {
  if (provider == nullptr) {
    return false;
  }
  if (provider->context != nullptr) {
    return true;  // running: its groups hold on to what is there
  }
  // What an initialisation that failed halfway left behind.
  release_components(provider);
  if (!vintor_collector_is_available()) {
    TLY_LOG_INFO("[vintor] Cannot run provider - vintor collector is not available");
    return false;
  }
  if (!vintor_collector_init_provider(provider, options)) {
    TLY_LOG_ERROR("[vintor] Failed to initialize provider");
    return false;
  }
  provider->context = vintor_collector_initialize_ctx();
  if (provider->context == nullptr) {
    TLY_LOG_ERROR("[vintor] failed to set vintor context");
    return false;
  }
  // Without its thread the provider still runs; reads find no data.
  vintor_collector_start(provider->context);
  TLY_LOG_DEBUG("[vintor] Initialized counter provider");
  return true;
}

tly_counter_group_t* vintor_counter_group_create(const tly_component_t* component) {
  if (component == nullptr) {
    return nullptr;
  }
  auto group = tly::allocate_zeroed<tly_counter_group_t>();
  if (!group) {
    TLY_LOG_ERROR("[vintor] failed to allocate counter group");
    return nullptr;
  }
  group->component_id = component->id;
  group->granularity = TLY_GRANULARITY_NODE;
  group->num_counter_sets = 1;
  return group.release();
}

bool vintor_counter_group_add_counter(tly_counter_group_t* group,
                                      const tly_counter_info_t* /*counter*/) {
  if (group == nullptr) {
    return false;
  }
  if (group->granularity != TLY_GRANULARITY_NODE || group->num_counter_sets != 1) {
    TLY_LOG_ERROR("[vintor] Provider supports per node granularity only. %s is given",
                  tly::printable(tly_granularity_string(group->granularity)));
    return false;
  }
  ++group->num_counters;
  return true;
}

bool vintor_counter_group_start(tly_counter_group_t* group) {
  if (group == nullptr) {
    return false;
  }
  TLY_LOG_DEBUG("[vintor] Start counter group %s", tly::printable(group->name));
  return vintor_collector_add_group(collector_of(group), group);
}

bool vintor_counter_group_read(tly_counter_group_t* group, tly_counter_value_t* values) {
  return vintor_collector_read_group(collector_of(group), group, values);
}

bool vintor_counter_group_stop(tly_counter_group_t* /*group*/, tly_counter_value_t* /*values*/) {
  return true;
}

bool vintor_counter_group_destroy(tly_counter_group_t* group) {
  tly_free_counter_group(group);
  return true;
}

void vintor_provider_finalize(tly_provider_t* provider) {
  if (provider == nullptr) {
    return;
  }
  TLY_LOG_DEBUG("[vintor] Finalize counter provider");
  if (provider->context != nullptr) {
    vintor_collector_stop(provider->context);
    vintor_collector_destroy_ctx(provider->context);
    provider->context = nullptr;
  }
  release_components(provider);
}

namespace {

char provider_name[] = "vintor";
char provider_description[] = "Quenmark Arvalen performance counters provider";

constinit tly_provider_t provider_record = {
    .id = 0,
    .version = kVersion,
    .name = provider_name,
    .description = provider_description,
    .num_components = 0,
    .components = nullptr,
    .context = nullptr,
    .provider_initialize = &vintor_provider_initialize,
    .provider_finalize = &vintor_provider_finalize,
    .reserved_a = nullptr,
    .reserved_b = nullptr,
    .counter_group_create = &vintor_counter_group_create,
    .counter_group_destroy = &vintor_counter_group_destroy,
    .counter_group_add_counter = &vintor_counter_group_add_counter,
    .counter_group_start = &vintor_counter_group_start,
    .counter_group_stop = &vintor_counter_group_stop,
    .counter_group_read = &vintor_counter_group_read,
};

// Finalizes a provider that still runs, or holds what a late failure left, when the library is
// unloaded or the process exits, so that the sampling thread never runs on without its code or the
// objects it uses. A forked child has no such thread, and the thread itself, when it is the one
// that exits, cannot wait for itself.
class RunningProviderGuard {
 public:
  constexpr RunningProviderGuard() = default;
  RunningProviderGuard(const RunningProviderGuard&) = delete;
  RunningProviderGuard& operator=(const RunningProviderGuard&) = delete;
  ~RunningProviderGuard() {
    const auto* const collector =
        static_cast<const vintor::collector::Collector*>(provider_record.context);
    const bool is_in_use = collector != nullptr || provider_record.num_components != 0;
    if (is_in_use && (collector == nullptr || !collector->isOutOfReach())) {
      vintor_provider_finalize(&provider_record);
    }
  }
};

__attribute__((init_priority(TLY_LOAD_PRIORITY_PROVIDER_GUARD))) RunningProviderGuard guard;

}  // namespace

tly_provider_t* construct_counter_provider(const tly_options_t* options) {
  if (!vintor_provider_initialize(&provider_record, options)) {
    TLY_LOG_DEBUG("[vintor] Could not initialize provider");
    return nullptr;
  }
  return &provider_record;
}
