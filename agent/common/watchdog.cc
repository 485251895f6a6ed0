#include "common/watchdog.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
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

}  // namespace

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
