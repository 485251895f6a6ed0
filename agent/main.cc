// tallyra-agent: a host of the plug-in library for the command line.
#include <algorithm>
#include <chrono>
#include <exception>
#include <new>
#include <optional>
#include <string>

#include "command_line/command_line.h"
#include "commands/events_command.h"
#include "commands/list_command.h"
#include "commands/read_command.h"
#include "commands/schema_command.h"
#include "commands/serve_command.h"
#include "commands/watch_command.h"
#include "common/failure.h"
#include "common/watchdog.h"
#include "host/client_library.h"
#include "host/host_logger.h"
#include "host/plugin.h"
#include "host/providers.h"
#include "host/selection.h"
#include "host/session.h"
#include "output/terminal.h"

namespace tly::agent {
namespace {

using namespace std::chrono_literals;

// Ending the provider waits for its pause between two samples. Where at most one sample is wanted,
// that pause only has to be long enough not to keep the machine busy.
constexpr std::chrono::nanoseconds kShortPause = 100ms;
constexpr std::chrono::nanoseconds kUsualPause = 1s;

// How long the end of a provider may take: its longest pause is 2.1 s, the rest is for the tool.
constexpr std::chrono::nanoseconds kLongestEnd = 4s;

std::chrono::nanoseconds sampling_interval(const CommandLine& command_line) {
  const bool is_brief = command_line.command == Command::kList ||
                        command_line.command == Command::kSchema || command_line.count == 1;
  return is_brief ? kShortPause : std::min(command_line.interval, kUsualPause);
}

LogSink log_sink(const CommandLine& command_line) {
  if (!command_line.log_file.empty()) {
    return LogSink::kFile;
  }
  const bool would_spoil_screen =
      command_line.command == Command::kWatch && output_is_terminal() && error_is_terminal();
  return would_spoil_screen ? LogSink::kHeld : LogSink::kStandardError;
}

void list(const Plugin& plugin, const Selection& selection, const CommandLine& command_line,
          const EnabledNames& names) {
  if (command_line.list_as_json) {
    list_as_json(plugin, selection, names.asks_for_remote);
  } else {
    list_as_text(plugin, selection);
  }
}

// What the function returns, or the status of what it throws, which is reported.
template <typename Function>
int report_failures(Function function) {
  try {
    return function();
  } catch (const Failure& failure) {
    report(failure.what(), failure.advice());
    return static_cast<int>(failure.code());
  } catch (const std::bad_alloc&) {
    report("out of memory", "select fewer counters with --counter");
  } catch (const std::exception& error) {
    report(error.what(), {});
  }
  return static_cast<int>(ExitCode::kFailure);
}

int use_counters(const Plugin& plugin, Providers& providers, HostLogger& logger,
                 const CommandLine& command_line, Omissions& omissions) {
  const EnabledNames& names = providers.names();
  const Selection selection =
      select_counters(plugin, providers.counters(), names.disable.get(), command_line.counters);
  switch (command_line.command) {
    case Command::kList:
      list(plugin, selection, command_line, names);
      return 0;
    case Command::kSchema:
      run_schema(plugin, selection, command_line.schema);
      return 0;
    default:
      break;
  }
  Session session(plugin, selection, command_line.timeout);
  if (command_line.command == Command::kRead) {
    return run_read(session, logger, command_line, omissions);
  }
  if (command_line.command == Command::kServe) {
    run_serve(plugin, session, logger, command_line, providers.absent(), omissions.status(0));
    return 0;
  }
  run_watch(session, logger, command_line, omissions);
  return 0;
}

void start(Providers& providers, const CommandLine& command_line, Omissions& omissions) {
  const EndBySignal end_by_signal;
  if (command_line.command == Command::kEvents) {
    providers.start_events(command_line.timeout, omissions);
  } else {
    providers.start_counters(sampling_interval(command_line), command_line.timeout, omissions);
  }
}

int run_command(const Plugin& plugin, HostLogger& logger, const CommandLine& command_line) {
  Omissions omissions;
  // Outlives the providers.
  const TypeSystem type_system = required(plugin, plugin.tly_create_type_system());
  Providers providers(plugin, enabled_names(plugin, command_line.enable, command_line.disable));
  start(providers, command_line, omissions);
  // Reported before the providers end, which may take long or for ever.
  const int status = omissions.status(report_failures([&] {
    return command_line.command == Command::kEvents
               ? run_events(plugin, *type_system, providers.events(), command_line, omissions)
               : use_counters(plugin, providers, logger, command_line, omissions);
  }));
  const EndBySignal end_by_signal;
  providers.finalize(kLongestEnd, status);
  return status;
}

int run(int argc, char** argv) {
  const std::optional<CommandLine> command_line = parse_command_line(argc, argv);
  if (!command_line) {
    return 0;
  }
  if (command_line->command == Command::kVersion) {
    write_output("tallyra-agent " TALLYRA_AGENT_VERSION "\n");
  }
  HostLogger logger(log_sink(*command_line), command_line->log_level, command_line->log_file);
  if (!command_line->client.empty()) {
    choose_client(command_line->client);
  }
  const Plugin plugin(command_line->library);
  logger.register_with(plugin);
  if (command_line->command == Command::kServe) {
    logger.count_warnings();
  }
  if (!command_line->client.empty()) {
    require_client(command_line->client);
  }
  if (command_line->command == Command::kVersion) {
    write_output(std::string("libvintor_provider.so ") + plugin.tly_version_string() + " (" +
                 plugin.path() + ")\n");
    return 0;
  }
  if (command_line->command == Command::kSchema && command_line->schema.is_of_saved()) {
    run_saved_schema(plugin, command_line->schema);
    return 0;
  }
  return run_command(plugin, logger, *command_line);
}

}  // namespace
}  // namespace tly::agent

int main(int argc, char** argv) {
  return tly::agent::report_failures([&] { return tly::agent::run(argc, argv); });
}
