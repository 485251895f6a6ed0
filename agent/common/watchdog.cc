#include "common/watchdog.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <utility>
#include <vector>

#include "common/failure.h"

namespace tly::agent {
namespace {

std::atomic<void (*)()> prepare_exit{nullptr};

// The process's descendants. None where the kernel does not list them.
std::vector<pid_t> descendants_of(pid_t pid) {
  std::vector<pid_t> found;
  std::error_code error;
  const std::filesystem::path tasks = "/proc/" + std::to_string(pid) + "/task";
  for (std::filesystem::directory_iterator task(tasks, error), end; !error && task != end;
       task.increment(error)) {
    std::ifstream children(task->path() / "children");
    for (pid_t child = 0; children >> child;) {
      found.push_back(child);
      const std::vector<pid_t> below = descendants_of(child);
      found.insert(found.end(), below.begin(), below.end());
    }
  }
  return found;
}

// Ends the process's descendants, the hanging tool among them, which would stay behind and hold the
// agent's output open; as soon as the process is gone, because the library would start it anew.
void end_descendants_after_exit() {
  const std::vector<pid_t> descendants = descendants_of(getpid());
  const pid_t process = getpid();
  const pid_t child = fork();
  if (child > 0) {
    return;
  }
  // The other threads are not in the child: nothing that takes a lock is called in it.
  constexpr timespec kPause{0, 1'000'000};
  while (child == 0 && getppid() == process) {
    nanosleep(&kPause, nullptr);
  }
  for (const pid_t descendant : descendants) {
    kill(descendant, SIGTERM);
  }
  if (child == 0) {
    _exit(0);
  }
}

std::atomic<int> handler_descriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free);

// What the handler interrupts is held up: it would report that its tool is gone, too. Not for ever:
// it may hold a lock that the end of the process takes.
void pass_on_and_wait(int signal_number) {
  const int saved_errno = errno;
  const auto byte = static_cast<unsigned char>(signal_number);
  [[maybe_unused]] const ssize_t written = write(handler_descriptor, &byte, 1);
  constexpr int kLongestWaitMs = 1000;
  poll(nullptr, 0, kLongestWaitMs);
  errno = saved_errno;
}

// Until the number is written, 0 to call it off.
void end_by_signal_from(int descriptor) {
  unsigned char signal_number = 0;
  while (read(descriptor, &signal_number, 1) < 0 && errno == EINTR) {
  }
  if (signal_number != 0) {
    end_descendants_after_exit();
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    sigaction(signal_number, &action, nullptr);
    raise(signal_number);
    // cppcheck-suppress unreachableCode ; a signal does not end the first process of a container
    _exit(128 + signal_number);
  }
}

}  // namespace

EndBySignal::EndBySignal() {
  std::array<int, 2> ends;
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw Failure(ExitCode::kFailure, std::string("cannot create a pipe: ") + std::strerror(errno));
  }
  descriptor_ = ends[1];
  handler_descriptor = descriptor_;
  thread_ = std::thread(&end_by_signal_from, ends[0]);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    sigaction(kSignals[i], nullptr, &previous_actions_[i]);
    if (previous_actions_[i].sa_handler != SIG_IGN) {
      struct sigaction action {};
      action.sa_handler = &pass_on_and_wait;
      action.sa_flags = SA_RESTART;
      sigaction(kSignals[i], &action, nullptr);
    }
  }
}

// The pipe stays open: on another thread a handler may still be about to write to it.
EndBySignal::~EndBySignal() {
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    sigaction(kSignals[i], &previous_actions_[i], nullptr);
  }
  const unsigned char none = 0;
  [[maybe_unused]] const ssize_t written = write(descriptor_, &none, 1);
  thread_.join();
}

void Watchdog::set_preparation(void (*new_prepare_exit)()) { prepare_exit = new_prepare_exit; }

Watchdog::Watchdog(std::chrono::nanoseconds limit, int exit_status, std::string message,
                   std::string advice)
    : exit_status_(exit_status),
      message_(std::move(message)),
      advice_(std::move(advice)),
      thread_(&Watchdog::watch, this, limit) {}

Watchdog::~Watchdog() {
  {
    const std::lock_guard lock(mutex_);
    is_called_off_ = true;
  }
  is_called_off_changed_.notify_one();
  thread_.join();
}

void Watchdog::watch(std::chrono::nanoseconds limit) {
  std::unique_lock lock(mutex_);
  // Against the steady clock, whatever happens to the date.
  const auto deadline = std::chrono::steady_clock::now() + limit;
  if (is_called_off_changed_.wait_until(lock, deadline, [this] { return is_called_off_; })) {
    return;
  }
  if (const auto prepare = prepare_exit.load()) {
    prepare();
  }
  report(message_, advice_);
  std::fflush(stdout);
  end_descendants_after_exit();
  // Not exit(): the library's own exit handlers would wait for the tool, too.
  _exit(exit_status_);
}

}  // namespace tly::agent
