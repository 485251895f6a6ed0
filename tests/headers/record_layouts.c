/* The layouts of the records that cross the plug-in boundary, on a 64-bit machine. */
#include <stddef.h>

#include "tallyra/client_id.h"
#include "tallyra/counter_data.h"
#include "tallyra/counter_group.h"
#include "tallyra/counter_provider.h"
#include "tallyra/counters_schema.h"
#include "tallyra/logging.h"
#include "tallyra/options.h"
#include "tallyra/qpx_client.h"
#include "tallyra/schema.h"
#include "tallyra/string_array.h"
#include "tallyra/string_utils.h"
#include "tallyra/type_definition.h"
#include "tallyra/type_system.h"

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

SIZE(tly_schema_id_t, 16);

AT(tly_type_field_info_t, field_name, 0);
AT(tly_type_field_info_t, description, 8);
AT(tly_type_field_info_t, type_name, 16);
AT(tly_type_field_info_t, counting_mode, 24);
AT(tly_type_field_info_t, array_length, 28);
SIZE(tly_type_field_info_t, 32);

AT(tly_type_field_definition_t, field_name, 0);
AT(tly_type_field_definition_t, description, 8);
AT(tly_type_field_definition_t, type_name, 16);
AT(tly_type_field_definition_t, type_size, 24);
AT(tly_type_field_definition_t, counting_mode, 32);
AT(tly_type_field_definition_t, array_length, 36);
AT(tly_type_field_definition_t, offset, 40);
AT(tly_type_field_definition_t, type_reference, 48);
AT(tly_type_field_definition_t, index, 56);
SIZE(tly_type_field_definition_t, 64);

AT(tly_type_definition_t, name, 0);
AT(tly_type_definition_t, builtin_id, 8);
AT(tly_type_definition_t, num_fields, 12);
AT(tly_type_definition_t, fields, 16);
AT(tly_type_definition_t, size, 24);
SIZE(tly_type_definition_t, 32);

AT(tly_schema_t, provider_version, 0);
AT(tly_schema_t, provider_name, 8);
AT(tly_schema_t, types, 16);
AT(tly_schema_t, num_types, 2048);
AT(tly_schema_t, parent, 2056);
AT(tly_schema_t, id, 2064);
AT(tly_schema_t, id_string, 2080);
SIZE(tly_schema_t, 2120);

AT(tly_counters_schema_t, size_of_counters, 0);
AT(tly_counters_schema_t, num_groups, 4);
AT(tly_counters_schema_t, groups, 8);
SIZE(tly_counters_schema_t, 16);

AT(tly_type_system_t, builtin_schema, 0);
AT(tly_type_system_t, schemas, 8);
AT(tly_type_system_t, num_schemas, 2048);
AT(tly_type_system_t, counters_schema, 2056);
AT(tly_type_system_t, counters_schema_id, 2064);
SIZE(tly_type_system_t, 2080);

AT(tly_source_t, id, 0);
AT(tly_source_t, tag, 64);
SIZE(tly_source_t, 80);

AT(tly_source_array_t, count, 0);
AT(tly_source_array_t, sources, 8);
SIZE(tly_source_array_t, 16);

AT(tly_data_serializer_t, type_system, 0);
AT(tly_data_serializer_t, buffer, 8);
AT(tly_data_serializer_t, capacity, 16);
AT(tly_data_serializer_t, used, 24);
SIZE(tly_data_serializer_t, 32);

AT(tly_event_provider_config_t, value_64, 0);
AT(tly_event_provider_config_t, value_32, 8);
AT(tly_event_provider_config_t, value_8a, 12);
AT(tly_event_provider_config_t, value_8b, 13);
SIZE(tly_event_provider_config_t, 16);

AT(tly_event_provider_t, id, 0);
AT(tly_event_provider_t, name, 8);
AT(tly_event_provider_t, description, 16);
AT(tly_event_provider_t, context, 24);
AT(tly_event_provider_t, event_provider_initialize, 32);
AT(tly_event_provider_t, reserved_e, 40);
AT(tly_event_provider_t, event_provider_start, 48);
AT(tly_event_provider_t, event_provider_progress, 56);
AT(tly_event_provider_t, event_provider_stop, 64);
AT(tly_event_provider_t, event_provider_finalize, 72);
AT(tly_event_provider_t, event_provider_get_sources, 80);
AT(tly_event_provider_t, event_provider_get_source_config, 88);
AT(tly_event_provider_t, reserved_slots, 96);
SIZE(tly_event_provider_t, 136);
