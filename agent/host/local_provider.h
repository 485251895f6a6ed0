// The library's own counter provider, from its construction to its finalization.
#pragma once

#include <chrono>
#include <memory>

#include "host/enabled_names.h"

namespace tly::agent {

class LocalProvider {
 public:
  // The library is asked to sample every `sampling_interval`, unless the environment already sets
  // how often. The names must outlive the provider. Throws Failure, with the reason, when there is
  // no provider or when it has no component enabled. When the tool takes longer than the timeout to
  // answer, the process ends.
  LocalProvider(const Plugin& plugin, const EnabledNames& names,
                std::chrono::nanoseconds sampling_interval, std::chrono::nanoseconds timeout);

  // Ends the provider. It waits for the tool and the pause between two runs; when that takes longer
  // than the limit the process ends with the status.
  void finalize(std::chrono::nanoseconds limit, int exit_status);

  tly_provider_t& record() const { return *record_; }

 private:
  struct Finalize {
    void operator()(tly_provider_t* provider) const { provider->provider_finalize(provider); }
  };

  tly_options_t options_{};
  std::unique_ptr<tly_provider_t, Finalize> record_;
};

}  // namespace tly::agent
