#include "host/local_provider.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "common/duration.h"
#include "common/failure.h"
#include "common/watchdog.h"

namespace tly::agent {
namespace {

constexpr const char* kTool = "/usr/bin/vintor_pmc";
constexpr const char* kIntervalSetting = "VINTOR_SAMPLE_INTERVAL_NSEC";
constexpr const char* kIntervalVariable = "TLY_VINTOR_SAMPLE_INTERVAL_NSEC";

// The provider reads its interval from the environment when it starts to sample.
void ask_for_sampling_interval(const Plugin& plugin, std::chrono::nanoseconds interval) {
  if (plugin.tly_getenv(kIntervalSetting) != nullptr) {
    return;
  }
  const std::int64_t longest_ns = std::numeric_limits<std::int32_t>::max();
  const std::int64_t interval_ns = std::clamp<std::int64_t>(interval.count(), 0, longest_ns);
  setenv(kIntervalVariable, std::to_string(interval_ns).c_str(), 1);
}

bool runs_in_container(const Plugin& plugin) {
  return plugin.tly_getenv_bool("DOCKER_ENV", false) ||
         plugin.tly_getenv_bool("TLY_RUN_IN_DOCKER", false);
}

// The library looks for its tool by the command ls.
Failure no_tool() {
  if (access(kTool, F_OK) == 0) {
    return {ExitCode::kProvider,
            std::string("the library could not look at its tool ") + kTool + ", which is there",
            "see whether PATH is set and has the commands ls and python3"};
  }
  return {ExitCode::kProvider, std::string("the library's tool ") + kTool + " is missing",
          "run scripts/quickstart, or install tools/vintor_pmc as /usr/bin/vintor_pmc"};
}

// Where commands go through the remote-executor client, a client that cannot be used looks to the
// library like a tool that is not there.
Failure no_provider(const Plugin& plugin) {
  if (runs_in_container(plugin)) {
    return {
        ExitCode::kProvider,
        "the library offers no counters: in a container (TLY_DOCKER_ENV, TLY_RUN_IN_DOCKER) its "
        "tool is run by the remote-executor client libqpx_client.so, which cannot be loaded, "
        "refuses to connect, or cannot run /usr/bin/vintor_pmc",
        "name the client's file with --client or in QPX_CLIENT_SO, or its root in TLY_ROOT, and "
        "see "
        "what the library logs while it is loaded with TLY_API_LOG_LEVEL=7"};
  }
  if (!plugin.vintor_collector_is_available()) {
    return no_tool();
  }
  return {ExitCode::kProvider,
          "the library offers no counters: running python3 /usr/bin/vintor_pmc failed, or what it "
          "printed is unusable",
          "run python3 /usr/bin/vintor_pmc by hand to see which, or this command with --log-level "
          "debug"};
}

std::string advice_on_hanging_tool(const Plugin& plugin) {
  const std::string advice =
      "run python3 /usr/bin/vintor_pmc by hand to see whether it hangs, or wait longer with "
      "--timeout";
  return runs_in_container(plugin)
             ? advice +
                   "; the client ends it after TLY_VINTOR_COMMAND_TIMEOUT seconds (30 by default)"
             : advice;
}

Failure nothing_enabled(bool has_patterns) {
  if (has_patterns) {
    return no_component_enabled();
  }
  return {ExitCode::kProvider, "the library's provider has no component",
          "see whether python3 /usr/bin/vintor_pmc prints any section"};
}

}  // namespace

LocalProvider::LocalProvider(const Plugin& plugin, const EnabledNames& names,
                             std::chrono::nanoseconds sampling_interval,
                             std::chrono::nanoseconds timeout) {
  options_.enable_patterns = names.local_enable.get();
  options_.disable_patterns = names.disable.get();
  ask_for_sampling_interval(plugin, sampling_interval);
  {
    const Watchdog watchdog(timeout, static_cast<int>(ExitCode::kNoSample),
                            "the library's tool did not end within " + duration_text(timeout),
                            advice_on_hanging_tool(plugin));
    record_.reset(plugin.construct_counter_provider(&options_));
  }
  if (!record_) {
    throw no_provider(plugin);
  }
  if (record_->num_components == 0) {
    throw nothing_enabled(names.local_enable || names.disable);
  }
}

void LocalProvider::finalize(std::chrono::nanoseconds limit, int exit_status) {
  const Watchdog watchdog(limit, exit_status,
                          "the library's tool /usr/bin/vintor_pmc hangs; not waiting for it");
  record_.reset();
}

}  // namespace tly::agent
