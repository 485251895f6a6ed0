// Where a server listens.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tly::agent {

struct ListenAddress {
  std::string host;        // a numeric IPv4 address
  std::uint16_t port = 0;  // 0: one that is free

  std::string text() const { return host + ":" + std::to_string(port); }
};

// From ADDR:PORT, where ADDR is a numeric IPv4 address or localhost, which stands for 127.0.0.1.
std::optional<ListenAddress> parse_listen_address(const std::string& text);

// Throws Failure, with the system's reason, when nobody could listen there now.
void require_listenable(const ListenAddress& address);

}  // namespace tly::agent
