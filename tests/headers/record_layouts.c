/* The layouts of the records that cross the plug-in boundary, on a 64-bit machine. */
#include <stddef.h>

#include "tallyra/client_id.h"
#include "tallyra/counter_data.h"
#include "tallyra/counter_group.h"
#include "tallyra/counter_provider.h"
#include "tallyra/logging.h"
#include "tallyra/options.h"
#include "tallyra/qpx_client.h"
#include "tallyra/string_array.h"
#include "tallyra/string_utils.h"

#define SIZE(type, bytes) _Static_assert(sizeof(type) == (bytes), "size of " #type)
#define AT(type, member, bytes) _Static_assert(offsetof(type, member) == (bytes), #type "." #member)

AT(tly_logger_ctx_t, kind, 0);
AT(tly_logger_ctx_t, stream, 8);
AT(tly_logger_ctx_t, log_func, 16);
AT(tly_logger_ctx_t, level, 24);
AT(tly_logger_ctx_t, mutex, 32);
SIZE(tly_logger_ctx_t, 40);

AT(tly_string_array_t, strings, 8);
SIZE(tly_string_array_t, 8);

AT(tly_pair_t, name, 8);
SIZE(tly_pair_t, 16);

AT(tly_options_t, enable_patterns, 0);
AT(tly_options_t, disable_patterns, 8);
AT(tly_options_t, custom_options, 16);
SIZE(tly_options_t, 24);

AT(tly_client_id_t, port, 64);
SIZE(tly_client_id_t, 66);

SIZE(tly_counter_value_t, 8);

AT(tly_counter_info_t, id, 0);
AT(tly_counter_info_t, name, 8);
AT(tly_counter_info_t, description, 16);
AT(tly_counter_info_t, units, 24);
AT(tly_counter_info_t, data_type, 32);
AT(tly_counter_info_t, counting_type, 36);
AT(tly_counter_info_t, offset, 40);
AT(tly_counter_info_t, length, 44);
AT(tly_counter_info_t, aux, 48);
AT(tly_counter_info_t, hidden, 52);
AT(tly_counter_info_t, mandatory, 53);
SIZE(tly_counter_info_t, 56);

AT(tly_component_t, id, 0);
AT(tly_component_t, granularity, 4);
AT(tly_component_t, name, 8);
AT(tly_component_t, description, 16);
AT(tly_component_t, enabled, 24);
AT(tly_component_t, status_string, 32);
AT(tly_component_t, num_counters, 40);
AT(tly_component_t, counters, 48);
AT(tly_component_t, context, 56);
SIZE(tly_component_t, 64);

AT(tly_provider_t, id, 0);
AT(tly_provider_t, version, 4);
AT(tly_provider_t, name, 8);
AT(tly_provider_t, description, 16);
AT(tly_provider_t, num_components, 24);
AT(tly_provider_t, components, 32);
AT(tly_provider_t, context, 40);
AT(tly_provider_t, provider_initialize, 48);
AT(tly_provider_t, provider_finalize, 56);
AT(tly_provider_t, reserved_a, 64);
AT(tly_provider_t, reserved_b, 72);
AT(tly_provider_t, counter_group_create, 80);
AT(tly_provider_t, counter_group_destroy, 88);
AT(tly_provider_t, counter_group_add_counter, 96);
AT(tly_provider_t, counter_group_start, 104);
AT(tly_provider_t, counter_group_stop, 112);
AT(tly_provider_t, counter_group_read, 120);
SIZE(tly_provider_t, 128);

AT(tly_counter_group_t, reserved_word, 0);
AT(tly_counter_group_t, component_id, 4);
AT(tly_counter_group_t, provider, 8);
AT(tly_counter_group_t, component, 16);
AT(tly_counter_group_t, granularity, 24);
AT(tly_counter_group_t, num_counter_sets, 28);
AT(tly_counter_group_t, num_counters, 32);
AT(tly_counter_group_t, counters, 40);
AT(tly_counter_group_t, name, 48);
AT(tly_counter_group_t, reserved_pointer, 56);
AT(tly_counter_group_t, provider_name, 64);
AT(tly_counter_group_t, read_callback, 72);
SIZE(tly_counter_group_t, 80);

SIZE(tly_magic_value_t, 4);
AT(tly_counters_data_t, magic, 0);
AT(tly_counters_data_t, padding, 4);
AT(tly_counters_data_t, timestamp, 8);
AT(tly_counters_data_t, values, 16);
SIZE(tly_counters_data_t, 16);

AT(qpx_event_provider_details_t, record_id, 0);
AT(qpx_event_provider_details_t, name, 8);
AT(qpx_event_provider_details_t, description, 16);
AT(qpx_event_provider_details_t, type_system_json, 24);
AT(qpx_event_provider_details_t, sources, 32);
AT(qpx_event_provider_details_t, configs, 40);
AT(qpx_event_provider_details_t, remote_id, 52);
SIZE(qpx_event_provider_details_t, 56);
