#include "commands/watch_command.h"

#include <optional>

#include "commands/counter_history.h"
#include "commands/reading_clock.h"
#include "commands/watch_view.h"
#include "common/signals.h"
#include "output/terminal.h"

namespace tly::agent {
namespace {

class Watch {
 public:
  Watch(Session& session, HostLogger& logger, const CommandLine& command_line, Omissions& omissions)
      : session_(session),
        logger_(logger),
        count_(command_line.count),
        interval_(command_line.interval),
        signals_({SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP, SIGWINCH}),
        book_(session) {
    if (output_is_terminal()) {
      omissions.hold_back();
      screen_.emplace();
      Screen::draw({"tallyra-agent: waiting for the first sample"}, terminal_size());
    }
    clock_.emplace(session, signals_, omissions, interval_, command_line.timeout,
                   screen_ ? screen_->key_descriptor() : -1);
  }

  void run() {
    for (std::uint64_t number = 1; count_ == 0 || number <= count_; ++number) {
      if (!clock_->next([this](Wake wake) { return handle(wake); })) {
        return;
      }
      book_.add_reading(clock_->steady_time(), clock_->unchanged_for());
      has_reading_ = true;
      show(number);
    }
  }

 private:
  // False when the watch is to end.
  bool handle(Wake wake) {
    switch (wake) {
      case Wake::kResize:
        redraw();
        return true;
      case Wake::kSuspend:
        suspend();
        return true;
      case Wake::kKey: {
        const Key key = screen_->read_key();
        if (key == Key::kSuspend) {
          suspend();
        }
        return key != Key::kStop;
      }
      default:
        if (signals_.stop_signal() == SIGINT) {
          logger_.silence();
        }
        return false;
    }
  }

  void suspend() {
    if (screen_) {
      screen_->leave();
    }
    raise(SIGSTOP);
    // cppcheck-suppress unreachableCode ; it goes on once it is continued
    book_.restart();
    if (screen_) {
      screen_->enter();
      redraw();
    }
  }

  WatchState state() const {
    return {session_.selection().source_names(), clock_->time(), interval_, clock_->unchanged_for(),
            logger_.last_held_line()};
  }

  void redraw() const {
    if (screen_ && has_reading_) {
      const TerminalSize size = terminal_size();
      Screen::draw(screen_lines(state(), session_, book_.histories(), size, unicode_), size);
    }
  }

  void show(std::uint64_t number) const {
    if (screen_) {
      redraw();
      return;
    }
    std::string text = number > 1 ? "\n" : "";
    for (const std::string& line : plain_lines(state(), session_, book_.histories(), unicode_)) {
      text += line + "\n";
    }
    write_output(text);
  }

  Session& session_;
  HostLogger& logger_;
  std::uint64_t count_;
  std::chrono::nanoseconds interval_;
  // Before the screen: its signals must not end the process while the screen is up.
  SignalWaiter signals_;
  HistoryBook book_;
  std::optional<Screen> screen_;  // on a terminal only
  std::optional<ReadingClock> clock_;
  bool has_reading_ = false;
  bool unicode_ = locale_is_utf8();
};

}  // namespace

void run_watch(Session& session, HostLogger& logger, const CommandLine& command_line,
               Omissions& omissions) {
  Watch(session, logger, command_line, omissions).run();
}

}  // namespace tly::agent
