// The remote side of a test: the providers that a scripted client offers, and what they deliver.
#pragma once

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <utility>

#include "scripted_client/script.h"

namespace tly::test {

struct RemoteProvider {
  uint32_t remote_id;
  const char* type_system;
  bool is_described = true;  // with name, sources and configuration
};

struct Delivery {
  // The first two fail. All but a null one come with a buffer, a zero one though its size is 0.
  enum Kind { kNone, kFail, kData, kZero, kNull, kThrow } kind = kNone;
  std::string bytes = "left";
};

struct RemoteSide {
  std::map<std::string, RemoteProvider> counters, events;    // others cannot be created
  Delivery next;                                             // of progress, once
  int32_t status = 5;                                        // of terminate; 0 throws
  const void *options = nullptr, *custom_options = nullptr;  // without these nothing is created
};
inline RemoteSide remote;

constexpr tly_event_provider_config_t kConfig{0x1122334455667788, 0x99AABBCC, 0xDD, 0xEE};

inline bool create(const std::map<std::string, RemoteProvider>& providers, bool has_options,
                   const char* name, qpx_event_provider_details_t* details) {
  const auto found = providers.find(name);
  if (found == providers.end() || !has_options) {
    return std::string(name) == "throws" ? throw 1 : false;
  }
  const auto& [id, types, is_described] = found->second;
  *details = {id + 100, {}, {}, types != nullptr ? strdup(types) : nullptr, {}, {}, 0, id};
  if (is_described) {
    details->name = strdup(name);
    details->description = strdup("about");
    details->sources = static_cast<tly_source_array_t*>(calloc(1, sizeof(tly_source_array_t)));
    details->configs = static_cast<tly_event_provider_config_t*>(malloc(sizeof kConfig));
    if (details->configs != nullptr) {
      *details->configs = kConfig;
    }
  }
  return true;
}

inline bool deliver(void*, uint32_t, uint16_t, void** buffer, uint64_t* size) {
  const Delivery delivery = std::exchange(remote.next, {});
  *size = delivery.kind == Delivery::kZero ? 0 : delivery.bytes.size();
  *buffer = delivery.kind == Delivery::kNull ? nullptr : malloc(delivery.bytes.size());
  if (*buffer != nullptr) {
    memcpy(*buffer, delivery.bytes.data(), delivery.bytes.size());
  }
  return delivery.kind == Delivery::kThrow ? throw 1 : delivery.kind > Delivery::kFail;
}

// Makes a client that is loaded follow the script.
inline void follow(const char* client, const ClientScript& script) {
  void* const library = dlopen(client, RTLD_LAZY | RTLD_NOLOAD);
  reinterpret_cast<ScriptedClientFollow*>(dlsym(library, "scripted_client_follow"))(&script);
  dlclose(library);
}

constexpr ClientScript kRemoteSide = {
    [](void*, auto* name, auto* options, auto* details) {
      return create(remote.counters, options == remote.options, name, details);
    },
    [](void*, auto* name, auto* options, auto* details) {
      return create(remote.events, options == remote.custom_options, name, details);
    },
    &deliver, [](void*, uint32_t) { return remote.status != 0 ? remote.status : throw 1; }};

#define COUNTER_OF(type, length)                                  \
  R"({"name":"c","description":"","units":"","data_type":")" type \
  R"(","counting_type":"ABSOLUTE","length":)" length "}"
#define COUNTER COUNTER_OF("UINT64", "8")
#define GROUP(name, counters)                                                   \
  R"({"granularity":"CPU","num_counters":0,"num_counter_sets":1,"name":")" name \
  R"(","counters":[)" counters "]}"
#define COUNTERS(groups) R"({"version":"1.5.0","counter_groups":[)" groups "]}"
#define TYPE(type, size)                                                           \
  R"({"name":")" type R"(-event","size":)" size R"(,"fields":[{"field_name":"x",)" \
  R"("description":"","type_size":)" size R"(,"offset":0,"type_name":")" type      \
  R"(","counting_mode":"ABSOLUTE"}]})"
#define SCHEMA(types) \
  R"({"tly_version":"1.5","provider_name":"p","provider_version":"1.0","types":[)" types "]}"
#define EVENTS(schemas) R"({"version":"1.5.0","schemas":[)" schemas "]}"

}  // namespace tly::test
