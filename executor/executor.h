// The executor: the providers of this machine, started by name and told apart by remote ids.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "executor/command.h"
#include "executor/provider.h"

namespace tly::executor {

enum class ProviderKind { kCounters, kEvents };

struct StartedProvider {
  std::uint32_t remote_id = 0;
  Description description;
};

// Any thread may call anything at any time: providers take turns, commands run side by side.
class Executor {
 public:
  // A new instance of a provider; nullopt for a name that is not known in that kind. Throws when it
  // cannot be started.
  std::optional<StartedProvider> start(ProviderKind kind, std::string_view name);

  // As Provider::progress(); also nullopt for an unknown id.
  std::optional<Bytes> progress(std::uint32_t remote_id, std::uint16_t source_index);

  // Ends the provider: 0, or -1 for an unknown id.
  std::int32_t terminate(std::uint32_t remote_id);

  static CommandResult run_command(const std::string& line, const CommandOptions& options) {
    return executor::run_command(line, options);
  }

 private:
  std::mutex mutex_;
  std::map<std::uint32_t, std::unique_ptr<Provider>> providers_;
  std::uint32_t last_remote_id_ = 0;
};

}  // namespace tly::executor
