/* A very small agent: prints the values of every component of the performance counters, once.
 *
 *   cc mini_agent.c $(pkg-config --cflags --libs tallyra) -o mini_agent */
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include <tallyra/counters_schema.h>
#include <tallyra/parson.h>
#include <tallyra/vintor_provider.h>

/* A group of all the component's counters, or null. */
static tly_counter_group_t* make_group(tly_provider_t* provider, const tly_component_t* component) {
  tly_counter_group_t* group = tly_create_counter_group(provider, component);
  for (int i = 0; group != NULL && i < component->num_counters; ++i) {
    if (!tly_add_counter_to_group(group, component->counters[i])) {
      tly_destroy_counter_group(group);
      return NULL;
    }
  }
  return group;
}

int main(void) {
  const tly_options_t options = {NULL, NULL, NULL};
  tly_provider_t* provider = construct_counter_provider(&options);
  if (provider == NULL) {
    fputs("mini_agent: no counters; TLY_API_LOG_LEVEL=7 tells why\n", stderr);
    return 1;
  }
  tly_counters_schema_t* schema = tly_create_counters_schema();
  for (int i = 0; i < provider->num_components; ++i) {
    tly_counters_schema_append_group(schema, make_group(provider, provider->components[i]));
  }
  tly_counters_schema_update_counter_offsets(schema); /* before the groups are started */
  tly_counter_value_t* values = calloc(1, tly_counters_schema_size_of_counters(schema));
  for (uint32_t i = 0; i < schema->num_groups; ++i) {
    tly_start_counting_group(schema->groups[i]);
  }
  nanosleep(&(struct timespec){.tv_sec = 2}, NULL); /* until there is a sample */
  for (uint32_t i = 0; i < schema->num_groups; ++i) {
    tly_counter_group_t* group = schema->groups[i];
    if (provider->counter_group_read(group, values)) {
      JSON_Value* json = tly_counter_group_values_jsonify(group, values);
      char* text = json_serialize_to_string_pretty(json);
      printf("%s: %s\n", group->name, text);
      json_free_serialized_string(text);
      json_value_free(json);
    }
    tly_stop_counting_group(group);
  }
  free(values);
  tly_destroy_counters_schema(schema); /* and its groups */
  provider->provider_finalize(provider);
  return 0;
}
