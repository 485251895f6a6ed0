#include "commands/events_command.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include "commands/event_format.h"
#include "commands/schema_document.h"
#include "commands/schema_file.h"
#include "common/descriptor.h"
#include "common/signals.h"
#include "host/event_feed.h"
#include "output/terminal.h"

namespace tly::agent {
namespace {

using std::chrono::steady_clock;

// The file that takes the records as they are, beside it their types.
class RawFile {
 public:
  RawFile(const std::string& path, const std::string& types_path, const SchemaDocument& types)
      : path_(path), file_(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666)) {
    struct stat status {};
    if (!file_.is_open() || fstat(file_.number(), &status) != 0) {
      throw failure();
    }
    require_other_file(status, types_path);
    // Only once the types are there, what the file held before is given up.
    write_schema_file(types_path, types.text);
    if (S_ISREG(status.st_mode) && ftruncate(file_.number(), 0) != 0) {
      throw failure();
    }
  }

  void write(std::span<const std::uint8_t> records) {
    if (!write_all(file_.number(),
                   {reinterpret_cast<const char*>(records.data()), records.size()})) {
      throw failure();
    }
  }

  void close() {
    if (!file_.close()) {
      throw failure();
    }
  }

 private:
  Failure failure() const {
    return {ExitCode::kFailure, "cannot write " + path_ + ": " + std::strerror(errno),
            "give --raw a file that can be written and has room"};
  }

  // However the two are spelled.
  static void require_other_file(const struct stat& raw, const std::string& types_path) {
    struct stat types {};
    if (stat(types_path.c_str(), &types) == 0 && types.st_dev == raw.st_dev &&
        types.st_ino == raw.st_ino) {
      throw Failure(ExitCode::kUsage, types_path + " is the file of the records itself",
                    "give --types another file than --raw");
    }
  }

  std::string path_;
  Descriptor file_;
};

class EventRun {
 public:
  EventRun(const Plugin& plugin, tly_type_system_t& type_system, EventFeed& feed,
           const CommandLine& command_line)
      : plugin_(plugin), type_system_(type_system), feed_(feed), command_line_(command_line) {
    if (command_line.raw_file) {
      raw_.emplace(*command_line.raw_file,
                   command_line.types_file.value_or(*command_line.raw_file + ".types.json"),
                   type_system_document(plugin, type_system));
    }
  }

  // The signal that ended it, or 0.
  int run() {
    const auto start = steady_clock::now();
    const auto end =
        command_line_.duration ? start + *command_line_.duration : steady_clock::time_point::max();
    auto due = start + command_line_.interval;
    const std::uint64_t count = command_line_.count;
    bool is_last = false;
    for (std::uint64_t number = 1; !is_last; ++number) {
      const auto deadline = std::min(due, end);
      if (signals_.wait_until(deadline) == Wake::kStop) {
        break;
      }
      feed_.fetch([this](const EventBatch& batch) { return take(batch); });
      is_last = number == count || deadline == end || signals_.stop_signal() != 0;
      due = std::max(due + command_line_.interval, steady_clock::now());
    }
    if (raw_) {
      raw_->close();
    }
    return signals_.stop_signal();
  }

 private:
  // Events may come faster than they are taken, so signals are looked for here, too.
  bool take(const EventBatch& batch) {
    if (raw_) {
      raw_->write(batch.records);
    } else {
      print(batch);
    }
    return signals_.wait_until(steady_clock::now()) != Wake::kStop;
  }

  void print(const EventBatch& batch) const {
    std::string lines;
    const bool is_whole = for_each_event(type_system_, batch.records, [&](const Event& event) {
      lines += event_line(plugin_, batch, event);
    });
    write_output(lines);
    if (!is_whole) {
      throw Failure(ExitCode::kFailure, batch.provider + " wrote records that cannot be read",
                    "--raw keeps the records as they are");
    }
  }

  const Plugin& plugin_;
  tly_type_system_t& type_system_;
  EventFeed& feed_;
  const CommandLine& command_line_;
  SignalWaiter signals_{SIGINT, SIGTERM, SIGHUP, SIGQUIT};
  std::optional<RawFile> raw_;
};

}  // namespace

int run_events(const Plugin& plugin, tly_type_system_t& type_system,
               const std::vector<RemoteEvents>& providers, const CommandLine& command_line,
               Omissions& omissions) {
  EventFeed feed(plugin, type_system, providers, command_line.timeout, omissions);
  EventRun run(plugin, type_system, feed, command_line);
  feed.start();
  const int signal_number = run.run();
  const bool was_endless = command_line.count == 0 && !command_line.duration;
  return signal_number == 0 || was_endless ? static_cast<int>(ExitCode::kSuccess)
                                           : 128 + signal_number;
}

}  // namespace tly::agent
