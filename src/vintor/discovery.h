// Counter discovery: one run of the tool becomes the provider's components and counters.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tallyra/counter_provider.h"
#include "tallyra/options.h"

namespace vintor::collector {

// What discovery is filling, as the walk's callback gets it.
struct ProviderAndIndex {
  tly_provider_t* provider;
  std::uint64_t index;  // id of the next counter; runs on across components
};

// Fills a provider that has no components. On failure, or when an exception escapes, the provider
// has none afterwards. An output that holds disabled sections only is a success.
bool init_provider(tly_provider_t* provider, const tly_options_t* options);

// Appends a component with the counters of the section's body. On false it may stay attached.
bool append_component_from_json_string(ProviderAndIndex& discovery, const char* body,
                                       const std::string& name);

// Appends a counter to the provider's last component; `context` is a ProviderAndIndex. A counter
// that cannot be made is missing, which is no failure. Always returns 0.
int append_counter_to_provider_callback(std::vector<std::string>& key_path, double value,
                                        void* context);

}  // namespace vintor::collector
