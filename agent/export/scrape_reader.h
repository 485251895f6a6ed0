// Reads the providers whenever a scrape asks, on threads of its own: one that hangs holds up
// neither the scrape nor the process.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/session.h"

namespace tly::agent {

// One thread reads the local provider and one the remote ones, which are for one thread at a time;
// so a remote provider that hangs keeps the other remote ones waiting, too.
class ScrapeReader {
 public:
  using Time = std::chrono::system_clock::time_point;

  struct Source {
    bool is_up = false;              // its values are of this cycle
    std::optional<Time> changed_at;  // when its present values were first read
  };

  // Of all read cycles so far, the present one included.
  struct Cycles {
    std::uint64_t whole = 0;
    std::uint64_t dropped = 0;  // some provider gave nothing
    std::optional<Time> last_whole_at;
    std::chrono::nanoseconds last_duration{};
  };

  // The session must outlive it, and belongs to it meanwhile. A cycle takes at most `limit`. Until
  // `first_sample_limit` from now a cycle waits for the first samples.
  ScrapeReader(Session& session, std::chrono::nanoseconds limit,
               std::chrono::nanoseconds first_sample_limit);
  // Waits for the reads under way.
  ~ScrapeReader();
  ScrapeReader(const ScrapeReader&) = delete;
  ScrapeReader& operator=(const ScrapeReader&) = delete;

  // Reads all providers once and calls `use`, by source of the selection; the session's values are
  // safe to read in it. Reports on standard error when a provider stops giving values, at most once
  // a minute each, and when it gives some again. Any thread may call; cycles follow each other.
  void read(const std::function<void(const std::vector<Source>&, const Cycles&)>& use);

  // Cycles end at once from now on.
  void stop();

 private:
  using SteadyTime = std::chrono::steady_clock::time_point;

  // Reads the sources of one thread. Busy while `done` is not `wanted`.
  struct Worker {
    std::size_t first_source;
    std::size_t end_source;
    std::uint64_t wanted = 0;
    std::uint64_t done = 0;
    std::thread thread{};
  };

  struct Trouble {
    std::string reason;  // why there are no values
    std::optional<SteadyTime> reported_at;
    bool is_reported = false;
  };

  void start_cycle();
  bool cycle_is_over() const;
  void report_changes();
  void work(Worker& worker);
  void read_source(std::size_t source, std::unique_lock<std::mutex>& lock);
  bool fetch(std::size_t source, std::string& reason);
  void end_threads();

  Session& session_;
  const std::chrono::nanoseconds limit_;
  const SteadyTime first_sample_due_;
  std::mutex cycle_mutex_;  // held for a whole cycle
  // Guards what follows, and the session's shown values.
  std::mutex mutex_;
  std::condition_variable changed_;
  std::uint64_t cycle_ = 0;
  SteadyTime deadline_;
  bool is_stopping_ = false;
  Cycles cycles_;
  std::vector<Source> sources_;
  std::vector<Trouble> troubles_;  // by source
  std::vector<Worker> workers_;
};

}  // namespace tly::agent
