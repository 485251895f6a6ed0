// What the executor runs: a provider of counters or events, described and delivered in plain values
// that could as well travel over a network.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tly::executor {

using Bytes = std::vector<std::uint8_t>;

struct Source {
  std::string id;
  std::string tag;
};

// The numbers that an agent receives with the sources of an event provider.
struct Configuration {
  std::uint64_t value_64 = 0;
  std::uint32_t value_32 = 0;
  std::uint8_t value_8a = 0;
  std::uint8_t value_8b = 0;
};

struct Description {
  std::string name;
  std::string description;
  std::string type_system_json;                // the counters schema or the event schema
  std::vector<Source> sources;                 // event providers only
  std::optional<Configuration> configuration;  // event providers only
};

// Constructors and both functions may throw; a provider is used by one thread at a time.
class Provider {
 public:
  Provider() = default;
  Provider(const Provider&) = delete;
  Provider& operator=(const Provider&) = delete;
  virtual ~Provider() = default;

  virtual Description describe() const = 0;

  // A data block of counters, or the events records since the last call; empty when there is
  // nothing new, nullopt when it could not be found out.
  virtual std::optional<Bytes> progress(std::uint16_t source_index) = 0;
};

}  // namespace tly::executor
