#include "commands/read_command.h"

#include "commands/reading_clock.h"
#include "commands/sample_format.h"
#include "common/failure.h"
#include "common/signals.h"
#include "output/terminal.h"

namespace tly::agent {

int run_read(Session& session, const HostLogger& logger, const CommandLine& command_line,
             Omissions& omissions) {
  SignalWaiter signals({SIGINT, SIGTERM, SIGHUP, SIGQUIT});
  ReadingClock clock(session, signals, omissions, command_line.interval, command_line.timeout);
  const auto stop = [&](Wake) {
    if (signals.stop_signal() == SIGINT) {
      logger.silence();
    }
    return false;
  };
  const std::uint64_t count = command_line.count;
  for (std::uint64_t number = 1; count == 0 || number <= count; ++number) {
    if (!clock.next(stop)) {
      return count == 0 ? static_cast<int>(ExitCode::kSuccess) : 128 + signals.stop_signal();
    }
    const Sample sample = {session, clock.time(), number};
    write_output(sample_text(sample, command_line.format));
  }
  return static_cast<int>(ExitCode::kSuccess);
}

}  // namespace tly::agent
