// The library's counter provider, from its construction to its finalization.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "plugin.h"

namespace tly::agent {

class Provider {
 public:
  // Components are named provider.component. With disable patterns only, everything else is
  // enabled. The library is asked to sample every `sampling_interval`, unless the environment
  // already says how often. Throws Failure, with the reason, when there is no provider or when it
  // has no component enabled. When the tool takes longer than the timeout to answer, the process
  // ends.
  Provider(const Plugin& plugin, const std::vector<std::string>& enable,
           const std::vector<std::string>& disable, std::chrono::nanoseconds sampling_interval,
           std::chrono::nanoseconds timeout);

  // Ends the provider. It waits for the tool and the pause between two runs; when that takes longer
  // than the limit the process ends with the status.
  void finalize(std::chrono::nanoseconds limit, int exit_status);

  tly_provider_t& record() const { return *record_; }

 private:
  struct Finalize {
    void operator()(tly_provider_t* provider) const { provider->provider_finalize(provider); }
  };

  StringArray patterns(const std::vector<std::string>& texts, const char* option) const;

  const Plugin& plugin_;
  // The provider may use the options as long as it lives.
  StringArray enable_;
  StringArray disable_;
  tly_options_t options_{};
  std::unique_ptr<tly_provider_t, Finalize> record_;
};

}  // namespace tly::agent
