#include "vintor/discovery.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "common/log.h"
#include "common/owned.h"
#include "common/pointer_array.h"
#include "tallyra/name_matching.h"
#include "vintor/command_runner.h"
#include "vintor/json_walk.h"
#include "vintor/sections.h"
#include "vintor/tool.h"
#include "vintor/value_rules.h"

namespace vintor::collector {
namespace {

constexpr char kInit[] = "init_provider";
constexpr char kAppendCounter[] = "append_counter_to_provider_callback";
constexpr std::uint32_t kValueLength = 8;

// Releases a counter in whatever state it is.
void release_counter(tly_counter_info_t* counter) {
  std::free(counter->name);
  std::free(counter->description);
  std::free(counter->units);
  std::free(counter);
}

void release_component(tly_component_t* component) {
  for (std::int32_t i = 0; i < component->num_counters; ++i) {
    release_counter(component->counters[i]);
  }
  std::free(component->counters);
  std::free(component->name);
  std::free(component);
}

using OwnedCounter = tly::Owned<tly_counter_info_t, &release_counter>;
using OwnedComponent = tly::Owned<tly_component_t, &release_component>;

// Releases everything that discovery attached to the provider, unless told to keep it.
class ComponentsRollback {
 public:
  explicit ComponentsRollback(tly_provider_t* provider) : provider_(provider) {}
  ComponentsRollback(const ComponentsRollback&) = delete;
  ComponentsRollback& operator=(const ComponentsRollback&) = delete;
  ~ComponentsRollback() {
    if (provider_ == nullptr) {
      return;
    }
    for (std::uint16_t i = 0; i < provider_->num_components; ++i) {
      release_component(provider_->components[i]);
    }
    std::free(provider_->components);
    provider_->components = nullptr;
    provider_->num_components = 0;
  }
  void keep_components() { provider_ = nullptr; }

 private:
  tly_provider_t* provider_;
};

bool copy_texts(tly_counter_info_t& counter, const std::string& name) {
  counter.name = strdup(name.c_str());
  if (counter.name == nullptr) {
    TLY_LOG_ERROR("[vintor] [%s] Failed to strdup counter name %s", kAppendCounter, name.c_str());
    return false;
  }
  counter.description = strdup("Arvalen Performance Counter");
  if (counter.description == nullptr) {
    TLY_LOG_ERROR("[vintor] [%s] Failed to strdup counter description", kAppendCounter);
    return false;
  }
  counter.units = strdup("");
  if (counter.units == nullptr) {
    TLY_LOG_ERROR("[vintor] [%s] Failed to strdup counter units", kAppendCounter);
    return false;
  }
  return true;
}

void append_counter(ProviderAndIndex& discovery, tly_component_t& component,
                    const std::vector<std::string>& key_path) {
  const std::string component_name = component.name;
  std::string name;
  append_name(name, name_parts(component_name, key_path));
  OwnedCounter counter(tly::allocate_zeroed<tly_counter_info_t>().release());
  if (!counter) {
    TLY_LOG_ERROR("[vintor] [%s] Failed to allocate memory for counter", kAppendCounter);
    return;
  }
  if (!tly::grow_by_one(component.counters, component.num_counters)) {
    TLY_LOG_ERROR("[vintor] [%s] Failed to reallocate memory for counters (component: %s)",
                  kAppendCounter, component.name);
    return;
  }
  if (!copy_texts(*counter, name)) {
    return;
  }
  const bool is_unsigned =
      component_is_unsigned(component_name) && may_be_unsigned(key_path.back());
  counter->data_type = is_unsigned ? TLY_DATA_TYPE_UINT64 : TLY_DATA_TYPE_FP64;
  counter->counting_type = is_unsigned ? TLY_COUNTING_TYPE_RUNNING_SUM : TLY_COUNTING_TYPE_ABSOLUTE;
  counter->id = static_cast<std::uint32_t>(discovery.index++);
  counter->length = kValueLength;
  component.counters[component.num_counters++] = counter.release();
}

// Appends a component for every enabled section of the output, which is cut up on the way.
bool append_enabled_sections(tly_provider_t* provider, const tly_options_t* options, char* output,
                             const std::vector<std::pair<std::uint64_t, std::uint64_t>>& offsets,
                             const std::vector<std::string>& names) {
  ProviderAndIndex discovery{.provider = provider, .index = 0};
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string full_name = std::string(provider->name) + "." + names[i];
    if (!tly_comp_is_enabled(full_name.c_str(), options)) {
      TLY_LOG_DEBUG("[vintor] [%s] Component %s is not enabled", kInit, full_name.c_str());
      continue;
    }
    output[offsets[i].second] = '\0';
    if (!append_component_from_json_string(discovery, output + offsets[i].first, names[i])) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool init_provider(tly_provider_t* provider, const tly_options_t* options) {
  char* raw_output = nullptr;
  std::uint64_t length = 0;
  if (!execute_command(kToolCommand, &raw_output, &length)) {
    TLY_LOG_ERROR("[vintor] [%s] Failed to get data", kInit);
    return false;
  }
  const tly::OwnedString output(raw_output);
  if (!output || length == 0) {
    TLY_LOG_ERROR("[vintor] [%s] Got empty output", kInit);
    return false;
  }
  std::vector<std::pair<std::uint64_t, std::uint64_t>> offsets;
  std::vector<std::string> names;
  if (!split_sections(output.get(), length, offsets, names)) {
    TLY_LOG_ERROR("[vintor] [%s] Failed to split the input string into components", kInit);
    return false;
  }
  ComponentsRollback rollback(provider);
  if (!append_enabled_sections(provider, options, output.get(), offsets, names)) {
    TLY_LOG_ERROR("[vintor] [%s] Failed to allocate memory for component", kInit);
    return false;
  }
  rollback.keep_components();
  return true;
}

bool append_component_from_json_string(ProviderAndIndex& discovery, const char* body,
                                       const std::string& name) {
  tly_provider_t& provider = *discovery.provider;
  if (!tly::grow_by_one(provider.components, provider.num_components)) {
    TLY_LOG_ERROR("[vintor] Failed to allocate memory for components");
    return false;
  }
  OwnedComponent component(tly::allocate_zeroed<tly_component_t>().release());
  if (!component) {
    TLY_LOG_ERROR("[vintor] Failed to allocate memory for component %s", name.c_str());
    return false;
  }
  component->name = strdup(name.c_str());
  if (component->name == nullptr) {
    TLY_LOG_ERROR("[vintor] Failed to strdup component name %s", name.c_str());
    return false;
  }
  component->id = provider.num_components;
  component->enabled = true;
  provider.components[provider.num_components++] = component.release();

  const LeafCallback append = [](std::vector<std::string>& key_path, double value, void* context) {
    append_counter_to_provider_callback(key_path, value, context);
  };
  if (!enumerate_json(body, append, &discovery, "")) {
    TLY_LOG_ERROR("[vintor] Failed to parse and enumerate the input JSON string");
    return false;
  }
  return true;
}

int append_counter_to_provider_callback(std::vector<std::string>& key_path, double /*value*/,
                                        void* context) {
  auto* const discovery = static_cast<ProviderAndIndex*>(context);
  if (discovery == nullptr || discovery->provider == nullptr) {
    TLY_LOG_ERROR("[vintor] [%s] Provider is null", kAppendCounter);
    return 0;
  }
  tly_component_t& component =
      *discovery->provider->components[discovery->provider->num_components - 1];
  if (key_path.size() < 2) {
    TLY_LOG_ERROR(
        "[vintor] [%s] No keys found for the counter - expected at least 2 keys (component: %s)",
        kAppendCounter, component.name);
    return 0;
  }
  append_counter(*discovery, component, key_path);
  return 0;
}

}  // namespace vintor::collector
