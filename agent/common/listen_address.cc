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

bool can_listen(int descriptor, const sockaddr* address, socklen_t length) {
  // As servers do: connections of a server that has just ended do not hold its port.
  const int yes = 1;
  return descriptor >= 0 &&
         setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) == 0 &&
         bind(descriptor, address, length) == 0 && listen(descriptor, 1) == 0;
}

}  // namespace

std::string ListenAddress::text() const {
  return (is_ipv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

std::optional<ListenAddress> parse_listen_address(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos) {
    return std::nullopt;
  }
  ListenAddress address;
  address.host = text.substr(0, colon);
  address.is_ipv6 = address.host.starts_with('[') && address.host.ends_with(']');
  if (address.is_ipv6) {
    address.host = address.host.substr(1, address.host.size() - 2);
  } else if (address.host == kLoopbackName) {
    address.host = kLoopback;
  }
  in6_addr numeric{};
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data() + colon + 1, end, address.port);
  const bool is_numeric =
      inet_pton(address.is_ipv6 ? AF_INET6 : AF_INET, address.host.c_str(), &numeric) == 1;
  return is_numeric && error == std::errc() && rest == end ? std::optional(address) : std::nullopt;
}

void require_listenable(const ListenAddress& address) {
  sockaddr_in ipv4{};
  ipv4.sin_family = AF_INET;
  ipv4.sin_port = htons(address.port);
  sockaddr_in6 ipv6{};
  ipv6.sin6_family = AF_INET6;
  ipv6.sin6_port = htons(address.port);
  inet_pton(AF_INET, address.host.c_str(), &ipv4.sin_addr);
  inet_pton(AF_INET6, address.host.c_str(), &ipv6.sin6_addr);
  const Descriptor socket_descriptor(
      socket(address.is_ipv6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const bool is_free =
      address.is_ipv6
          ? can_listen(socket_descriptor.number(), reinterpret_cast<sockaddr*>(&ipv6), sizeof ipv6)
          : can_listen(socket_descriptor.number(), reinterpret_cast<sockaddr*>(&ipv4), sizeof ipv4);
  if (!is_free) {
    const int error = errno;
    throw Failure(ExitCode::kListen,
                  "cannot listen on " + address.text() + ": " + std::strerror(error),
                  advice_for(error));
  }
}

}  // namespace tly::agent
