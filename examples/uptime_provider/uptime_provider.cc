// A counter provider with one component, `clock`, of two counters.
#include <tallyra/counter_group.h>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace {
char texts[][28] = {"uptime", "How long this machine runs", "s",    "up", "Since boot",
                    "idle",   "All CPUs idle, in all",      "clock"};
tly_counter_info_t counters[2], *counter_list[] = {&counters[0], &counters[1]};
tly_component_t clock_component, *component_list[] = {&clock_component};
tly_provider_t provider;

tly_counter_group_t* create_group(const tly_component_t*) {
  auto* group = static_cast<tly_counter_group_t*>(std::calloc(1, sizeof(tly_counter_group_t)));
  if (group != nullptr) group->num_counter_sets = 1;
  return group;
}
bool destroy_group(tly_counter_group_t* group) { return tly_free_counter_group(group), true; }
bool accept(tly_counter_group_t* group, const tly_counter_info_t*) { return ++group->num_counters; }
bool start(tly_counter_group_t*) { return true; }
bool stop(tly_counter_group_t*, tly_counter_value_t*) { return true; }
void finalize(tly_provider_t*) {}

// A value goes where the agent has laid its counter out; the counter's id tells which it is.
bool read_group(tly_counter_group_t* group, tly_counter_value_t* values) {
  double seconds[2];
  if (!(std::ifstream("/proc/uptime") >> seconds[0] >> seconds[1])) return false;
  for (uint32_t i = 0; i < group->num_counters; ++i) {
    const tly_counter_info_t* counter = group->counters[i];
    std::memcpy(reinterpret_cast<char*>(values) + counter->offset, &seconds[counter->id], 8);
  }
  return true;
}
}  // namespace

extern "C" TLY_API tly_provider_t* construct_counter_provider(const tly_options_t*) {
  for (uint32_t i = 0; i < 2; ++i) {
    counters[i].id = i;
    counters[i].name = texts[3 + 2 * i];
    counters[i].description = texts[4 + 2 * i];
    counters[i].units = texts[2];
    counters[i].data_type = TLY_DATA_TYPE_FP64;
    counters[i].length = 8;
  }
  clock_component = {0, 0, texts[7], texts[1], true, nullptr, 2, counter_list, nullptr};
  provider.name = texts[0];
  provider.description = texts[1];
  provider.num_components = 1;
  provider.components = component_list;
  provider.provider_finalize = &finalize;
  provider.counter_group_create = &create_group;
  provider.counter_group_destroy = &destroy_group;
  provider.counter_group_add_counter = &accept;
  provider.counter_group_start = &start;
  provider.counter_group_stop = &stop;
  provider.counter_group_read = &read_group;
  return &provider;
}
