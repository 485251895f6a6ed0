#include "commands/serve_command.h"

#include <prometheus/exposer.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "common/failure.h"
#include "common/signals.h"
#include "common/watchdog.h"
#include "export/scrape_reader.h"
#include "export/scrape_target.h"
#include "output/terminal.h"

namespace tly::agent {
namespace {

using namespace std::chrono_literals;

// Half of what a Prometheus server waits by default: it shall still get the rest.
constexpr std::chrono::nanoseconds kLongestRead = 5s;
constexpr std::chrono::nanoseconds kLongestEnd = 2s;

std::unique_ptr<prometheus::Exposer> listen_on(const ListenAddress& address) {
  require_listenable(address);
  try {
    // A client that sends no request keeps one of the threads that long.
    return std::make_unique<prometheus::Exposer>(std::vector<std::string>{
        "listening_ports", address.text(), "num_threads", "4", "request_timeout_ms", "5000"});
  } catch (const std::exception& error) {
    throw Failure(ExitCode::kListen, "cannot listen on " + address.text() + ": " + error.what(),
                  "name another port with --listen ADDR:PORT");
  }
}

}  // namespace

void run_serve(const Plugin& plugin, Session& session, const HostLogger& logger,
               const CommandLine& command_line, const std::vector<std::string>& absent_providers,
               int exit_status) {
  SignalWaiter signals({SIGINT, SIGTERM, SIGHUP, SIGQUIT});
  ListenAddress address = command_line.listen;
  std::optional<ScrapeReader> reader;
  std::shared_ptr<ScrapeTarget> target;
  std::unique_ptr<prometheus::Exposer> exposer = listen_on(address);
  reader.emplace(session, std::min(command_line.timeout, kLongestRead), command_line.timeout);
  target = std::make_shared<ScrapeTarget>(session, *reader, logger, absent_providers,
                                          plugin.tly_version_string());
  exposer->RegisterCollectable(target);
  address.port = static_cast<std::uint16_t>(exposer->GetListeningPorts().front());
  write_output("Serving http://" + address.text() + "/metrics\n");
  signals.wait_until(std::chrono::steady_clock::time_point::max());
  if (signals.stop_signal() == SIGINT) {
    logger.silence();
  }
  reader->stop();
  exposer.reset();
  const Watchdog watchdog(kLongestEnd, exit_status,
                          "a provider does not answer; not waiting for it");
  reader.reset();
}

}  // namespace tly::agent
