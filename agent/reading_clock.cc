#include "reading_clock.h"

#include <algorithm>
#include <cstring>

#include "duration.h"
#include "failure.h"

namespace tly::agent {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr std::chrono::nanoseconds kPollInterval = 10ms;
constexpr std::chrono::nanoseconds kLongestGrace = 500ms;

}  // namespace

ReadingClock::ReadingClock(Session& session, SignalWaiter& signals,
                           std::chrono::nanoseconds interval, std::chrono::nanoseconds timeout,
                           int key_descriptor)
    : session_(session),
      signals_(signals),
      interval_(interval),
      timeout_(timeout),
      key_descriptor_(key_descriptor) {}

bool ReadingClock::next(const WakeHandler& handler) {
  if (!(previous_values_.empty() ? wait_for_first(handler) : wait_for_due(handler))) {
    return false;
  }
  time_ = std::chrono::system_clock::now();
  steady_time_ = steady_clock::now();
  if (values_have_changed()) {
    changed_at_ = steady_time_;
    previous_values_ = session_.values();
  }
  return true;
}

bool ReadingClock::wait_for_first(const WakeHandler& handler) {
  const SteadyTime deadline = steady_clock::now() + timeout_;
  while (!session_.read()) {
    if (steady_clock::now() >= deadline) {
      throw Failure(ExitCode::kNoSample,
                    "no sample arrived within " + duration_text(timeout_) +
                        ": the library's tool hangs or fails",
                    "run python3 /usr/bin/vintor_pmc by hand, look at --log-level warning, or wait "
                    "longer with --timeout");
    }
    if (!sleep_until(handler, std::min(deadline, steady_clock::now() + kPollInterval))) {
      return false;
    }
  }
  due_ = steady_clock::now() + interval_;
  return true;
}

bool ReadingClock::wait_for_due(const WakeHandler& handler) {
  if (!sleep_until(handler, due_)) {
    return false;
  }
  session_.read();
  const SteadyTime grace_end = due_ + std::min(interval_ / 2, kLongestGrace);
  bool has_waited = false;
  while (!values_have_changed() && steady_clock::now() < grace_end) {
    has_waited = true;
    if (!sleep_until(handler, steady_clock::now() + kPollInterval)) {
      return false;
    }
    session_.read();
  }
  const SteadyTime now = steady_clock::now();
  const bool has_met_sample = has_waited && values_have_changed();
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
  const Values& values = session_.values();
  return previous_values_.size() != values.size() ||
         std::memcmp(previous_values_.data(), values.data(),
                     values.size() * sizeof(tly_counter_value_t)) != 0;
}

}  // namespace tly::agent
