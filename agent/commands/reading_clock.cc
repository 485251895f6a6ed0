#include "commands/reading_clock.h"

#include <algorithm>
#include <span>
#include <string>

#include "common/duration.h"
#include "common/failure.h"

namespace tly::agent {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr std::chrono::nanoseconds kPollInterval = 10ms;
constexpr std::chrono::nanoseconds kLongestGrace = 500ms;
constexpr std::chrono::nanoseconds kLongestRemotePause = 1s;

}  // namespace

ReadingClock::ReadingClock(Session& session, SignalWaiter& signals, Omissions& omissions,
                           std::chrono::nanoseconds interval, std::chrono::nanoseconds timeout,
                           int key_descriptor)
    : session_(session),
      signals_(signals),
      omissions_(omissions),
      interval_(interval),
      timeout_(timeout),
      key_descriptor_(key_descriptor) {}

bool ReadingClock::next(const WakeHandler& handler) {
  if (!(has_read_ ? wait_for_due(handler) : wait_for_first(handler))) {
    return false;
  }
  time_ = std::chrono::system_clock::now();
  steady_time_ = steady_clock::now();
  if (!has_read_ || values_have_changed()) {
    changed_at_ = steady_time_;
    const std::span<const unsigned char> values = session_.paced_values();
    previous_values_.assign(values.begin(), values.end());
  }
  has_read_ = true;
  return true;
}

// Remote providers are asked less and less often: each answer costs them something, and each
// failure a line in the log.
bool ReadingClock::wait_for_first(const WakeHandler& handler) {
  const SteadyTime deadline = steady_clock::now() + timeout_;
  SteadyTime remote_due = steady_clock::now();
  std::chrono::nanoseconds remote_pause = kPollInterval;
  for (;;) {
    if (session_.read_local() && steady_clock::now() >= remote_due) {
      if (session_.read_remote()) {
        break;
      }
      remote_due = steady_clock::now() + remote_pause;
      remote_pause = std::min(2 * remote_pause, kLongestRemotePause);
    }
    if (steady_clock::now() >= deadline) {
      give_up_waiting();
      break;
    }
    if (!sleep_until(handler, std::min(deadline, steady_clock::now() + kPollInterval))) {
      return false;
    }
  }
  due_ = steady_clock::now() + interval_;
  return true;
}

void ReadingClock::give_up_waiting() {
  // Not tried yet when the local provider is what kept the others waiting.
  session_.read_remote();
  const std::vector<std::string> silent = session_.sources_without_values();
  for (const std::string& name : silent) {
    const bool is_local = session_.has_local() && name == session_.selection().sources.front().name;
    const Failure failure(
        ExitCode::kNoSample,
        "no sample arrived " + (is_local ? "" : "from " + name + " ") + "within " +
            duration_text(timeout_) + (is_local ? ": the library's tool hangs or fails" : ""),
        is_local ? "run python3 /usr/bin/vintor_pmc by hand, look at --log-level warning, or wait "
                   "longer with --timeout"
                 : "look at --log-level warning, or wait longer with --timeout");
    if (silent.size() == session_.selection().sources.size()) {
      throw Failure(failure);
    }
    omissions_.add(failure);
  }
}

bool ReadingClock::wait_for_due(const WakeHandler& handler) {
  if (!sleep_until(handler, due_)) {
    return false;
  }
  bool has_met_sample = false;
  if (session_.has_local()) {
    session_.read_local();
    const SteadyTime grace_end = due_ + std::min(interval_ / 2, kLongestGrace);
    while (!values_have_changed() && steady_clock::now() < grace_end) {
      if (!sleep_until(handler, steady_clock::now() + kPollInterval)) {
        return false;
      }
      session_.read_local();
      has_met_sample = values_have_changed();
    }
  }
  session_.read_remote();
  const SteadyTime now = steady_clock::now();
  due_ = has_met_sample ? now + interval_ : std::max(due_ + interval_, now);
  return true;
}

bool ReadingClock::sleep_until(const WakeHandler& handler, SteadyTime deadline) {
  for (;;) {
    const Wake wake = signals_.wait_until(deadline, key_descriptor_);
    if (wake == Wake::kDeadline) {
      return true;
    }
    if (!handler(wake)) {
      return false;
    }
  }
}

bool ReadingClock::values_have_changed() const {
  const std::span<const unsigned char> values = session_.paced_values();
  return !std::equal(values.begin(), values.end(), previous_values_.begin());
}

}  // namespace tly::agent
