// The table of the watch command as lines of text.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "commands/counter_history.h"
#include "output/terminal.h"

namespace tly::agent {

struct WatchState {
  std::string provider_name;
  std::chrono::system_clock::time_point time;
  std::chrono::nanoseconds interval;
  std::chrono::nanoseconds unchanged_for;
  std::string message;  // the last line of the log; may be empty
};

// At most `size.rows` lines of at most `size.columns` columns: a heading, as much of the table as
// fits, how many counters do not, and the message.
std::vector<std::string> screen_lines(const WatchState& state, const Session& session,
                                      const std::vector<CounterHistory>& histories,
                                      TerminalSize size, bool unicode);

// The heading and the whole table.
std::vector<std::string> plain_lines(const WatchState& state, const Session& session,
                                     const std::vector<CounterHistory>& histories, bool unicode);

}  // namespace tly::agent
