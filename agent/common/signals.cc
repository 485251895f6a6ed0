#include "common/signals.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>

#include "common/failure.h"

namespace tly::agent {
namespace {

using std::chrono::nanoseconds;

// The handler may run on any thread, so it wakes the waiting one through a pipe.
std::atomic<int> handler_descriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free);

void pass_on(int signal_number) {
  const int saved_errno = errno;
  const auto byte = static_cast<unsigned char>(signal_number);
  // A full pipe wakes the waiting thread just as well.
  [[maybe_unused]] const ssize_t written = write(handler_descriptor, &byte, 1);
  errno = saved_errno;
}

timespec time_left(std::chrono::steady_clock::time_point deadline) {
  const auto left =
      std::max<nanoseconds>(deadline - std::chrono::steady_clock::now(), nanoseconds(0));
  const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
  return {static_cast<time_t>(seconds.count()), static_cast<long>((left - seconds).count())};
}

}  // namespace

SignalWaiter::SignalWaiter(std::initializer_list<int> signals) {
  std::array<int, 2> ends;
  if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
    throw Failure(ExitCode::kFailure, std::string("cannot create a pipe: ") + std::strerror(errno));
  }
  descriptor_ = ends[0];
  handler_descriptor = ends[1];
  for (const int signal_number : signals) {
    struct sigaction previous {};
    sigaction(signal_number, nullptr, &previous);
    if (previous.sa_handler == SIG_IGN) {
      continue;
    }
    struct sigaction action {};
    action.sa_handler = &pass_on;
    action.sa_flags = SA_RESTART;
    sigaction(signal_number, &action, nullptr);
    previous_actions_.emplace_back(signal_number, previous);
  }
}

// The pipe stays open: on another thread a handler may still be about to write to it.
SignalWaiter::~SignalWaiter() {
  for (const auto& [signal_number, previous] : previous_actions_) {
    sigaction(signal_number, &previous, nullptr);
  }
}

Wake SignalWaiter::wait_until(std::chrono::steady_clock::time_point deadline, int key_descriptor) {
  while (stop_signal_ == 0) {
    std::array<pollfd, 2> watched = {{{descriptor_, POLLIN, 0}, {key_descriptor, POLLIN, 0}}};
    const timespec left = time_left(deadline);
    const int ready = ppoll(watched.data(), watched.size(), &left, nullptr);
    unsigned char signal_number = 0;
    if (read(descriptor_, &signal_number, 1) == 1) {
      if (signal_number == SIGWINCH) {
        return Wake::kResize;
      }
      if (signal_number == SIGTSTP) {
        return Wake::kSuspend;
      }
      stop_signal_ = signal_number;
    } else if (ready > 0 && watched[1].revents != 0) {
      return Wake::kKey;
    } else if (ready == 0) {
      return Wake::kDeadline;
    }
  }
  return Wake::kStop;
}

}  // namespace tly::agent
