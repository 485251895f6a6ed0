#include "export/scrape_reader.h"

#include <algorithm>

#include "common/duration.h"
#include "common/failure.h"

namespace tly::agent {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr std::chrono::nanoseconds kFirstPause = 10ms;
constexpr std::chrono::nanoseconds kLongestPause = 1s;
constexpr std::chrono::nanoseconds kQuietTime = 1min;

}  // namespace

ScrapeReader::ScrapeReader(Session& session, std::chrono::nanoseconds limit,
                           std::chrono::nanoseconds first_sample_limit)
    : session_(session),
      limit_(limit),
      first_sample_due_(steady_clock::now() + first_sample_limit),
      sources_(session.selection().sources.size()),
      troubles_(sources_.size()) {
  const std::size_t first_remote = session.has_local() ? 1 : 0;
  if (first_remote > 0) {
    workers_.push_back({0, first_remote});
  }
  if (first_remote < sources_.size()) {
    workers_.push_back({first_remote, sources_.size()});
  }
  try {
    for (Worker& worker : workers_) {
      worker.thread = std::thread(&ScrapeReader::work, this, std::ref(worker));
    }
  } catch (...) {
    end_threads();
    throw;
  }
}

ScrapeReader::~ScrapeReader() { end_threads(); }

void ScrapeReader::stop() {
  const std::lock_guard lock(mutex_);
  is_stopping_ = true;
  changed_.notify_all();
}

void ScrapeReader::end_threads() {
  stop();
  for (Worker& worker : workers_) {
    if (worker.thread.joinable()) {
      worker.thread.join();
    }
  }
}

void ScrapeReader::read(const std::function<void(const std::vector<Source>&, const Cycles&)>& use) {
  const std::lock_guard one_cycle(cycle_mutex_);
  std::unique_lock lock(mutex_);
  const SteadyTime start = steady_clock::now();
  deadline_ = start + limit_;
  start_cycle();
  changed_.wait_until(lock, deadline_, [this] { return is_stopping_ || cycle_is_over(); });
  cycles_.last_duration = steady_clock::now() - start;
  if (std::ranges::all_of(sources_, &Source::is_up)) {
    ++cycles_.whole;
    cycles_.last_whole_at = std::chrono::system_clock::now();
  } else {
    ++cycles_.dropped;
  }
  if (!is_stopping_) {
    report_changes();
  }
  use(sources_, cycles_);
}

// A thread that is still busy for an earlier cycle is left alone, and its sources without values.
void ScrapeReader::start_cycle() {
  ++cycle_;
  for (std::size_t i = 0; i < sources_.size(); ++i) {
    sources_[i].is_up = false;
    troubles_[i].reason = "was not read within " + duration_text(limit_);
  }
  for (Worker& worker : workers_) {
    if (worker.done == worker.wanted) {
      worker.wanted = cycle_;
    }
  }
  changed_.notify_all();
}

bool ScrapeReader::cycle_is_over() const {
  return std::ranges::none_of(workers_, [this](const Worker& worker) {
    return worker.wanted == cycle_ && worker.done != cycle_;
  });
}

void ScrapeReader::report_changes() {
  const SteadyTime now = steady_clock::now();
  for (std::size_t i = 0; i < sources_.size(); ++i) {
    Trouble& trouble = troubles_[i];
    const std::string& name = session_.selection().sources[i].name;
    if (sources_[i].is_up && trouble.is_reported) {
      report(name + " gives values again", {});
      trouble.is_reported = false;
    } else if (!sources_[i].is_up && !trouble.is_reported &&
               (!trouble.reported_at || now - *trouble.reported_at >= kQuietTime)) {
      report(name + " " + trouble.reason + "; serving the rest", {});
      trouble.is_reported = true;
      trouble.reported_at = now;
    }
  }
}

void ScrapeReader::work(Worker& worker) {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [&] { return is_stopping_ || worker.done != worker.wanted; });
    if (is_stopping_) {
      return;
    }
    for (std::size_t i = worker.first_source; i < worker.end_source; ++i) {
      read_source(i, lock);
    }
    worker.done = worker.wanted;
    changed_.notify_all();
  }
}

void ScrapeReader::read_source(std::size_t source, std::unique_lock<std::mutex>& lock) {
  const std::uint64_t cycle = cycle_;
  std::chrono::nanoseconds pause = kFirstPause;
  for (;;) {
    std::string reason;
    lock.unlock();
    const bool is_fetched = fetch(source, reason);
    lock.lock();
    // Values that come after the cycle that asked for them are not shown by the next one.
    const bool is_in_time = cycle == cycle_;
    if (is_fetched && session_.take(source)) {
      sources_[source].changed_at = std::chrono::system_clock::now();
    }
    if (is_in_time) {
      sources_[source].is_up = is_fetched;
      troubles_[source].reason = std::move(reason);
    }
    const SteadyTime now = steady_clock::now();
    const SteadyTime end = std::min(first_sample_due_, deadline_);
    if (sources_[source].changed_at || !is_in_time || now >= end || is_stopping_) {
      return;
    }
    changed_.wait_until(lock, std::min(now + pause, end), [this] { return is_stopping_; });
    pause = std::min(2 * pause, kLongestPause);
  }
}

// Without the lock: this may take for ever.
bool ScrapeReader::fetch(std::size_t source, std::string& reason) {
  try {
    reason = "gave no values";
    return session_.fetch(source);
  } catch (const std::exception& error) {
    reason = std::string("failed: ") + error.what();
    return false;
  }
}

}  // namespace tly::agent
