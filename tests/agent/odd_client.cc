// A remote-executor client library whose providers do what healthy ones rarely do, each by
// its name; the n-th progress call of a counter provider delivers n in all its numbers.
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tallyra/qpx_client.h"

namespace {

using Bytes = std::basic_string<char>;

// A text of odd length before a number, and numbers whose length is left open.
constexpr const char* kCounters = R"({"version": "1.5.0", "counter_groups": [
  {"granularity": "NODE", "name": "first", "provider": "odd", "num_counter_sets": 1,
   "num_counters": 2, "counters": [
     {"name": "first:cycle", "description": "", "units": "", "data_type": "UINT64",
      "counting_type": "RUNNING_SUM"},
     {"name": "label", "description": "", "units": "", "data_type": "STRING", "length": 11,
      "counting_type": "ABSOLUTE"}]},
  {"granularity": "NODE", "name": "second", "provider": "odd", "num_counter_sets": 1,
   "num_counters": 1, "counters": [
     {"name": "cycle", "description": "", "units": "", "data_type": "FP64",
      "counting_type": "ABSOLUTE"}]}]})";

constexpr const char* kEvents = R"({"name": "t", "version": "1.5.0", "schemas": [
  {"title": "Tallyra schema", "tly_version": "1.5.0", "provider_name": "odd",
   "provider_version": "1.0.0", "types": [{"name": "odd_event", "size": 24, "fields": [
     {"field_name": "number", "description": "", "type_name": "uint64_t",
      "counting_mode": "ABSOLUTE", "offset": 0, "type_size": 8, "index": 0},
     {"field_name": "text", "description": "", "type_name": "char", "counting_mode": "ABSOLUTE",
      "array_length": 8, "offset": 8, "type_size": 1, "index": 0},
     {"field_name": "ratio", "description": "", "type_name": "double",
      "counting_mode": "ABSOLUTE", "offset": 16, "type_size": 8, "index": 0}]}]}]})";

// A field far outside its event; and one whose elements take no room, however many there are.
#define EVENT_OF(field)                                                                        \
  R"({"name": "t", "version": "1.5.0", "schemas": [{"title": "Tallyra schema",)"               \
  R"("tly_version": "1.5.0", "provider_name": "odd", "provider_version": "1.0.0", "types": [)" \
  R"({"name": "odd_event", "size": 24, "fields": [{"field_name": "f", "description": "",)"     \
  R"("counting_mode": "ABSOLUTE", "type_name": "uint64_t", "index": 0, )" field "}]}]}]}"
constexpr const char* kFar = EVENT_OF(R"("offset": 1e15, "type_size": 8)");
constexpr const char* kDense = EVENT_OF(R"("offset": 0, "type_size": 0, "array_length": 65535)");

template <typename Number>
void append(Bytes& bytes, Number number) {
  bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

Bytes block_of(std::uint64_t n) {
  Bytes bytes(16, '\0');
  append(bytes, n);
  bytes += "eleven char";
  append(bytes, static_cast<double>(n));
  return bytes;
}

// More than one buffer of the agent's takes; a text that is not UTF-8 and a number that is none.
Bytes flood() {
  Bytes bytes;
  for (std::uint64_t i = 0; i < 5000; ++i) {
    if (i % 250 == 0) {
      bytes += Bytes("TLYE") + Bytes(11, '\0') + '\xfa';
    }
    append(bytes, i);
    bytes += Bytes("caf\xff\0\0\0\0", 8);
    append(bytes, i == 1 ? std::nan("") : 0.5);
  }
  return bytes;
}

struct Odd {
  const char* name;
  const char* types;
  bool (*progress)(std::uint64_t call, Bytes& bytes);
};

constexpr Odd kProviders[] = {
    {"steady", kCounters,
     [](std::uint64_t n, Bytes& bytes) {
       bytes = block_of(n);
       return true;
     }},
    // Nothing twice, then values, a failure, values.
    {"late", kCounters,
     [](std::uint64_t n, Bytes& bytes) {
       bytes = n > 2 ? block_of(n) : Bytes();
       return n != 4;
     }},
    {"silent", kCounters, [](std::uint64_t, Bytes&) { return false; }},
    {"hung", kCounters,
     [](std::uint64_t n, Bytes& bytes) {
       bytes = block_of(n);
       return n < 3 || sleep(60) == 0;
     }},
    {"flood", kEvents,
     [](std::uint64_t n, Bytes& bytes) {
       bytes = n == 1 ? flood() : Bytes();
       return true;
     }},
    {"broken", kEvents, [](std::uint64_t, Bytes&) { return false; }},
    {"far", kFar, [](std::uint64_t, Bytes&) { return true; }},
    {"dense", kDense, [](std::uint64_t, Bytes&) { return true; }},
    {"garbled", "{", [](std::uint64_t, Bytes&) { return true; }},
};

std::uint64_t calls[std::size(kProviders)];

bool create(const char* name, bool counts, qpx_event_provider_details_t* details) {
  for (const Odd& odd : kProviders) {
    if (std::strcmp(odd.name, name) == 0 && (odd.types == kCounters) == counts) {
      *details = {};
      details->name = strdup(name);
      details->description = strdup("");
      details->type_system_json = strdup(odd.types);
      details->remote_id = static_cast<std::uint32_t>(&odd - kProviders);
      return true;
    }
  }
  return false;
}

}  // namespace

extern "C" {

TLY_API void* qpx_client_init() { return calls; }

TLY_API void qpx_client_destroy(void*) {}

TLY_API bool qpx_client_event_provider_create(void*, const char* name, const tly_custom_options*,
                                              qpx_event_provider_details_t* details) {
  return create(name, false, details);
}

TLY_API bool qpx_client_counter_provider_create(void*, const char* name, const tly_options_t*,
                                                qpx_event_provider_details_t* details) {
  return create(name, true, details);
}

TLY_API bool qpx_client_event_provider_progress(void*, uint32_t remote_id, uint16_t, void** buffer,
                                                uint64_t* size) {
  Bytes bytes;
  const bool is_done = kProviders[remote_id].progress(++calls[remote_id], bytes);
  *size = is_done ? bytes.size() : 0;
  *buffer = *size > 0 ? std::memcpy(std::malloc(*size), bytes.data(), *size) : nullptr;
  return is_done;
}

TLY_API int32_t qpx_client_event_provider_terminate(void*, uint32_t) { return 0; }

TLY_API bool qpx_client_run_command(void*, const char*, bool, uint32_t, char**, uint64_t*) {
  return false;
}

}  // extern "C"
