#include "common/listen_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <system_error>

#include "common/descriptor.h"
#include "common/failure.h"

namespace tly::agent {
namespace {

constexpr const char* kLoopbackName = "localhost";
constexpr const char* kLoopback = "127.0.0.1";

const char* advice_for(int error) {
  switch (error) {
    case EADDRINUSE:
      return "end what listens there, or name another port with --listen ADDR:PORT";
    case EACCES:
      return "low ports are for root alone: name one from 1024 on with --listen ADDR:PORT";
    default:
      return "name an address of this machine with --listen ADDR:PORT";
  }
}

bool can_listen(int descriptor, const sockaddr_in& address) {
  // As servers do: connections of a server that has just ended do not hold its port.
  const int yes = 1;
  return descriptor >= 0 &&
         setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) == 0 &&
         bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
         listen(descriptor, 1) == 0;
}

}  // namespace

std::optional<ListenAddress> parse_listen_address(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos) {
    return std::nullopt;
  }
  ListenAddress address;
  address.host = text.substr(0, colon) == kLoopbackName ? kLoopback : text.substr(0, colon);
  in_addr numeric{};
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data() + colon + 1, end, address.port);
  const bool is_address = inet_pton(AF_INET, address.host.c_str(), &numeric) == 1 &&
                          error == std::errc() && rest == end;
  return is_address ? std::optional(address) : std::nullopt;
}

void require_listenable(const ListenAddress& address) {
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_port = htons(address.port);
  inet_pton(AF_INET, address.host.c_str(), &name.sin_addr);
  const Descriptor descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!can_listen(descriptor.number(), name)) {
    const int error = errno;
    throw Failure(ExitCode::kListen,
                  "cannot listen on " + address.text() + ": " + std::strerror(error),
                  advice_for(error));
  }
}

}  // namespace tly::agent
