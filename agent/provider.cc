#include "provider.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "duration.h"
#include "failure.h"
#include "watchdog.h"

namespace tly::agent {
namespace {

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

// Where commands go through the remote-executor client, a client that cannot be used looks to the
// library like a tool that is not there.
Failure no_provider(const Plugin& plugin) {
  if (plugin.tly_getenv_bool("DOCKER_ENV", false) ||
      plugin.tly_getenv_bool("TLY_RUN_IN_DOCKER", false)) {
    return {
        ExitCode::kTool,
        "the library offers no counters: in a container (TLY_DOCKER_ENV, TLY_RUN_IN_DOCKER) its "
        "tool is run by the remote-executor client libqpx_client.so, which cannot be loaded, "
        "refuses to connect, or cannot run /usr/bin/vintor_pmc",
        "name the client's file in QPX_CLIENT_SO or its root in TLY_ROOT, and see what the "
        "library logs while it is loaded with TLY_API_LOG_LEVEL=7"};
  }
  if (!plugin.vintor_collector_is_available()) {
    return {ExitCode::kTool, "the library's tool /usr/bin/vintor_pmc is missing",
            "run scripts/quickstart, or install tools/vintor_pmc as /usr/bin/vintor_pmc"};
  }
  return {ExitCode::kTool,
          "the library offers no counters: running python3 /usr/bin/vintor_pmc failed, or what it "
          "printed is unusable",
          "run python3 /usr/bin/vintor_pmc by hand to see which, or this command with --log-level "
          "debug"};
}

Failure nothing_enabled(bool has_patterns) {
  if (has_patterns) {
    return {ExitCode::kSelection, "the --enable and --disable patterns leave no component enabled",
            "patterns are held against provider.component, such as vintor.pmc_res; "
            "'tallyra-agent list' shows what there is"};
  }
  return {ExitCode::kTool, "the library's provider has no component",
          "see whether python3 /usr/bin/vintor_pmc prints any section"};
}

}  // namespace

Provider::Provider(const Plugin& plugin, const std::vector<std::string>& enable,
                   const std::vector<std::string>& disable,
                   std::chrono::nanoseconds sampling_interval, std::chrono::nanoseconds timeout)
    : plugin_(plugin),
      enable_(patterns(enable, "--enable")),
      disable_(patterns(disable, "--disable")) {
  // The library enables only what an enable pattern selects, as soon as there is any pattern.
  if (disable_ && !enable_) {
    enable_ = patterns({"*"}, "--enable");
  }
  options_.enable_patterns = enable_.get();
  options_.disable_patterns = disable_.get();
  ask_for_sampling_interval(plugin, sampling_interval);
  {
    const Watchdog watchdog(timeout, static_cast<int>(ExitCode::kNoSample),
                            "the library's tool did not end within " + duration_text(timeout),
                            "run python3 /usr/bin/vintor_pmc by hand to see whether it hangs, or "
                            "wait longer with --timeout");
    record_.reset(plugin.construct_counter_provider(&options_));
  }
  if (!record_) {
    throw no_provider(plugin);
  }
  if (record_->num_components == 0) {
    throw nothing_enabled(enable_ || disable_);
  }
}

void Provider::finalize(std::chrono::nanoseconds limit, int exit_status) {
  const Watchdog watchdog(limit, exit_status,
                          "the library's tool /usr/bin/vintor_pmc hangs; not waiting for it");
  record_.reset();
}

StringArray Provider::patterns(const std::vector<std::string>& texts, const char* option) const {
  StringArray result(nullptr, FreeStringArray{&plugin_});
  for (const std::string& text : texts) {
    const StringArray tokens(
        plugin_.tly_string_array_from_comma_separated_string(text.c_str(), text.size()),
        FreeStringArray{&plugin_});
    if (tokens && tokens->count == 0) {
      throw Failure(ExitCode::kUsage, std::string(option) + " has no pattern in '" + text + "'",
                    "give one or more patterns, separated by commas");
    }
    if (!result) {
      result.reset(plugin_.tly_init_string_array());
    }
    tly_string_array_t* joined = result.release();
    const bool is_joined =
        tokens && joined != nullptr && plugin_.tly_string_array_join(&joined, tokens.get());
    result.reset(joined);
    if (!is_joined) {
      throw std::bad_alloc();
    }
  }
  return result;
}

}  // namespace tly::agent
