// tallyra-agent: a host of the plug-in library for the command line.
#include <cstdio>
#include <exception>
#include <string>

#include "command_line.h"
#include "failure.h"
#include "host_logger.h"
#include "list_command.h"
#include "plugin.h"
#include "provider.h"
#include "read_command.h"
#include "schema_command.h"
#include "selection.h"
#include "session.h"
#include "terminal.h"
#include "watch_command.h"

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

int list(const Plugin& plugin, const Selection& selection, const CommandLine& command_line) {
  (command_line.list_as_json ? list_as_json : list_as_text)(plugin, selection);
  return 0;
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

int use_provider(const Plugin& plugin, const Provider& provider, HostLogger& logger,
                 const CommandLine& command_line) {
  const Selection selection = select_counters(plugin, provider.record(), command_line.counters);
  if (command_line.command == Command::kList) {
    return list(plugin, selection, command_line);
  }
  if (command_line.command == Command::kSchema) {
    run_schema(plugin, provider.record(), selection, command_line.schema);
    return 0;
  }
  Session session(plugin, provider.record(), selection);
  if (command_line.command == Command::kRead) {
    return run_read(session, logger, command_line);
  }
  run_watch(session, logger, command_line);
  return 0;
}

int run_command(const Plugin& plugin, HostLogger& logger, const CommandLine& command_line) {
  Provider provider(plugin, command_line.enable, command_line.disable,
                    sampling_interval(command_line), command_line.timeout);
  // Reported before the provider ends, which may take long or for ever.
  const int status =
      report_failures([&] { return use_provider(plugin, provider, logger, command_line); });
  provider.finalize(kLongestEnd, status);
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
  const Plugin plugin(command_line->library);
  logger.register_with(plugin);
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
