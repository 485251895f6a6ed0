#include "common/watchdog.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <utility>

#include "common/failure.h"

namespace tly::agent {
namespace {

std::atomic<void (*)()> prepare_exit{nullptr};

// Ends the process's descendants, the hanging tool among them: it would stay behind and hold the
// agent's output open. Does nothing where the kernel does not tell children.
void end_descendants(pid_t pid) {
  std::error_code error;
  const std::filesystem::path tasks = "/proc/" + std::to_string(pid) + "/task";
  for (std::filesystem::directory_iterator task(tasks, error), end; !error && task != end;
       task.increment(error)) {
    std::ifstream children(task->path() / "children");
    for (pid_t child = 0; children >> child;) {
      end_descendants(child);
      kill(child, SIGTERM);
    }
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
  end_descendants(getpid());
  // Not exit(): the library's own exit handlers would wait for the tool, too.
  std::fflush(nullptr);
  _exit(exit_status_);
}

}  // namespace tly::agent
