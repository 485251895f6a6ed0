/* What the binary interface rests on, checked for every machine that the library is built for.
 *
 * Records pass between an agent and plug-ins that were built apart, and counters and events between
 * machines as they lie in memory. Both hold for little-endian machines with 64-bit pointers and
 * longs; neither rests on whether plain char is signed, which differs among them and which no code
 * of the project assumes. */
#include <float.h>
#include <limits.h>
#include <stddef.h>

#include "tallyra/client_id.h"
#include "tallyra/counter_data.h"
#include "tallyra/counter_group.h"
#include "tallyra/counter_provider.h"
#include "tallyra/counters_schema.h"
#include "tallyra/data_serializer.h"
#include "tallyra/event_provider.h"
#include "tallyra/logging.h"
#include "tallyra/options.h"
#include "tallyra/qpx_client.h"
#include "tallyra/schema.h"
#include "tallyra/schema_id.h"
#include "tallyra/sources.h"
#include "tallyra/string_array.h"
#include "tallyra/string_utils.h"
#include "tallyra/type_definition.h"
#include "tallyra/type_system.h"

#define HOLDS(condition) _Static_assert(condition, #condition)
#define SIZE(type, bytes, alignment)                                       \
  _Static_assert(sizeof(type) == (bytes) && _Alignof(type) == (alignment), \
                 "size or alignment of " #type)
#define STARTS(record, member, offset) \
  _Static_assert(offsetof(record, member) == (offset), "place of " #record "." #member)
/* A member's place and size, in bytes. */
#define AT(record, member, offset, bytes) \
  STARTS(record, member, offset);         \
  _Static_assert(sizeof(((record*)0)->member) == (bytes), "size of " #record "." #member)

HOLDS(CHAR_BIT == 8);
HOLDS(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);
SIZE(bool, 1, 1);
SIZE(short, 2, 2);
SIZE(int, 4, 4);
SIZE(long, 8, 8);
SIZE(long long, 8, 8);
SIZE(size_t, 8, 8);
SIZE(void*, 8, 8);
SIZE(tly_log_func_t, 8, 8);
SIZE(float, 4, 4);
SIZE(double, 8, 8);
HOLDS(FLT_MANT_DIG == 24 && FLT_MAX_EXP == 128 && DBL_MANT_DIG == 53 && DBL_MAX_EXP == 1024);

SIZE(tly_logger_type_t, 4, 4);
SIZE(tly_data_type_t, 4, 4);
SIZE(tly_granularity_t, 4, 4);
SIZE(tly_counting_type_t, 4, 4);
SIZE(tly_value_type_t, 4, 4);

AT(tly_logger_ctx_t, kind, 0, 4);
AT(tly_logger_ctx_t, stream, 8, 8);
AT(tly_logger_ctx_t, log_func, 16, 8);
AT(tly_logger_ctx_t, level, 24, 4);
AT(tly_logger_ctx_t, mutex, 32, 8);
SIZE(tly_logger_ctx_t, 40, 8);

AT(tly_string_array_t, count, 0, 8);
STARTS(tly_string_array_t, strings, 8);
SIZE(tly_string_array_t, 8, 8);

AT(tly_pair_t, number, 0, 4);
AT(tly_pair_t, name, 8, 8);
SIZE(tly_pair_t, 16, 8);

AT(tly_options_t, enable_patterns, 0, 8);
AT(tly_options_t, disable_patterns, 8, 8);
AT(tly_options_t, custom_options, 16, 8);
SIZE(tly_options_t, 24, 8);

AT(tly_client_id_t, host_name, 0, 64);
AT(tly_client_id_t, port, 64, 2);
SIZE(tly_client_id_t, 66, 2);

AT(tly_counter_value_t, u64, 0, 8);
AT(tly_counter_value_t, i64, 0, 8);
AT(tly_counter_value_t, fp64, 0, 8);
AT(tly_counter_value_t, string, 0, 8);
SIZE(tly_counter_value_t, 8, 8);

AT(tly_counter_info_t, id, 0, 4);
AT(tly_counter_info_t, name, 8, 8);
AT(tly_counter_info_t, description, 16, 8);
AT(tly_counter_info_t, units, 24, 8);
AT(tly_counter_info_t, data_type, 32, 4);
AT(tly_counter_info_t, counting_type, 36, 4);
AT(tly_counter_info_t, offset, 40, 4);
AT(tly_counter_info_t, length, 44, 4);
AT(tly_counter_info_t, aux, 48, 4);
AT(tly_counter_info_t, hidden, 52, 1);
AT(tly_counter_info_t, mandatory, 53, 1);
SIZE(tly_counter_info_t, 56, 8);

AT(tly_component_t, id, 0, 4);
AT(tly_component_t, granularity, 4, 4);
AT(tly_component_t, name, 8, 8);
AT(tly_component_t, description, 16, 8);
AT(tly_component_t, enabled, 24, 1);
AT(tly_component_t, status_string, 32, 8);
AT(tly_component_t, num_counters, 40, 4);
AT(tly_component_t, counters, 48, 8);
AT(tly_component_t, context, 56, 8);
SIZE(tly_component_t, 64, 8);

AT(tly_provider_t, id, 0, 4);
AT(tly_provider_t, version, 4, 4);
AT(tly_provider_t, name, 8, 8);
AT(tly_provider_t, description, 16, 8);
AT(tly_provider_t, num_components, 24, 2);
AT(tly_provider_t, components, 32, 8);
AT(tly_provider_t, context, 40, 8);
AT(tly_provider_t, provider_initialize, 48, 8);
AT(tly_provider_t, provider_finalize, 56, 8);
AT(tly_provider_t, reserved_a, 64, 8);
AT(tly_provider_t, reserved_b, 72, 8);
AT(tly_provider_t, counter_group_create, 80, 8);
AT(tly_provider_t, counter_group_destroy, 88, 8);
AT(tly_provider_t, counter_group_add_counter, 96, 8);
AT(tly_provider_t, counter_group_start, 104, 8);
AT(tly_provider_t, counter_group_stop, 112, 8);
AT(tly_provider_t, counter_group_read, 120, 8);
SIZE(tly_provider_t, 128, 8);

AT(tly_counter_group_t, reserved_word, 0, 4);
AT(tly_counter_group_t, component_id, 4, 4);
AT(tly_counter_group_t, provider, 8, 8);
AT(tly_counter_group_t, component, 16, 8);
AT(tly_counter_group_t, granularity, 24, 4);
AT(tly_counter_group_t, num_counter_sets, 28, 4);
AT(tly_counter_group_t, num_counters, 32, 4);
AT(tly_counter_group_t, counters, 40, 8);
AT(tly_counter_group_t, name, 48, 8);
AT(tly_counter_group_t, reserved_pointer, 56, 8);
AT(tly_counter_group_t, provider_name, 64, 8);
AT(tly_counter_group_t, read_callback, 72, 8);
SIZE(tly_counter_group_t, 80, 8);

AT(tly_counters_schema_t, size_of_counters, 0, 4);
AT(tly_counters_schema_t, num_groups, 4, 4);
AT(tly_counters_schema_t, groups, 8, 8);
SIZE(tly_counters_schema_t, 16, 8);

AT(tly_magic_value_t, bytes, 0, 4);
SIZE(tly_magic_value_t, 4, 1);

AT(tly_counters_data_t, magic, 0, 4);
AT(tly_counters_data_t, padding, 4, 4);
AT(tly_counters_data_t, timestamp, 8, 8);
STARTS(tly_counters_data_t, values, 16);
SIZE(tly_counters_data_t, 16, 8);

AT(tly_schema_id_t, bytes, 0, 16);
SIZE(tly_schema_id_t, 16, 1);

AT(tly_type_field_info_t, field_name, 0, 8);
AT(tly_type_field_info_t, description, 8, 8);
AT(tly_type_field_info_t, type_name, 16, 8);
AT(tly_type_field_info_t, counting_mode, 24, 4);
AT(tly_type_field_info_t, array_length, 28, 2);
SIZE(tly_type_field_info_t, 32, 8);

AT(tly_type_field_definition_t, field_name, 0, 8);
AT(tly_type_field_definition_t, description, 8, 8);
AT(tly_type_field_definition_t, type_name, 16, 8);
AT(tly_type_field_definition_t, type_size, 24, 8);
AT(tly_type_field_definition_t, counting_mode, 32, 4);
AT(tly_type_field_definition_t, array_length, 36, 2);
AT(tly_type_field_definition_t, offset, 40, 8);
AT(tly_type_field_definition_t, type_reference, 48, 8);
AT(tly_type_field_definition_t, index, 56, 2);
SIZE(tly_type_field_definition_t, 64, 8);

AT(tly_type_definition_t, name, 0, 8);
AT(tly_type_definition_t, builtin_id, 8, 4);
AT(tly_type_definition_t, num_fields, 12, 2);
AT(tly_type_definition_t, fields, 16, 8);
AT(tly_type_definition_t, size, 24, 8);
SIZE(tly_type_definition_t, 32, 8);

AT(tly_schema_t, provider_version, 0, 4);
AT(tly_schema_t, provider_name, 8, 8);
AT(tly_schema_t, types, 16, 2032);
AT(tly_schema_t, num_types, 2048, 1);
AT(tly_schema_t, parent, 2056, 8);
AT(tly_schema_t, id, 2064, 16);
AT(tly_schema_t, id_string, 2080, 33);
SIZE(tly_schema_t, 2120, 8);

AT(tly_type_system_t, builtin_schema, 0, 8);
AT(tly_type_system_t, schemas, 8, 2040);
AT(tly_type_system_t, num_schemas, 2048, 1);
AT(tly_type_system_t, counters_schema, 2056, 8);
AT(tly_type_system_t, counters_schema_id, 2064, 16);
SIZE(tly_type_system_t, 2080, 8);

AT(tly_source_t, id, 0, 64);
AT(tly_source_t, tag, 64, 16);
SIZE(tly_source_t, 80, 1);

AT(tly_source_array_t, count, 0, 2);
AT(tly_source_array_t, sources, 8, 8);
SIZE(tly_source_array_t, 16, 8);

AT(tly_data_serializer_t, type_system, 0, 8);
AT(tly_data_serializer_t, buffer, 8, 8);
AT(tly_data_serializer_t, capacity, 16, 8);
AT(tly_data_serializer_t, used, 24, 8);
SIZE(tly_data_serializer_t, 32, 8);

AT(tly_events_header_t, magic, 0, 4);
AT(tly_events_header_t, timestamp, 4, 8);
AT(tly_events_header_t, schema_index, 12, 1);
AT(tly_events_header_t, type_index, 13, 1);
AT(tly_events_header_t, padding, 14, 1);
AT(tly_events_header_t, count, 15, 1);
SIZE(tly_events_header_t, TLY_EVENTS_HEADER_SIZE, 1);

AT(tly_event_provider_config_t, value_64, 0, 8);
AT(tly_event_provider_config_t, value_32, 8, 4);
AT(tly_event_provider_config_t, value_8a, 12, 1);
AT(tly_event_provider_config_t, value_8b, 13, 1);
SIZE(tly_event_provider_config_t, 16, 8);

AT(tly_event_provider_t, id, 0, 4);
AT(tly_event_provider_t, name, 8, 8);
AT(tly_event_provider_t, description, 16, 8);
AT(tly_event_provider_t, context, 24, 8);
AT(tly_event_provider_t, event_provider_initialize, 32, 8);
AT(tly_event_provider_t, reserved_e, 40, 8);
AT(tly_event_provider_t, event_provider_start, 48, 8);
AT(tly_event_provider_t, event_provider_progress, 56, 8);
AT(tly_event_provider_t, event_provider_stop, 64, 8);
AT(tly_event_provider_t, event_provider_finalize, 72, 8);
AT(tly_event_provider_t, event_provider_get_sources, 80, 8);
AT(tly_event_provider_t, event_provider_get_source_config, 88, 8);
AT(tly_event_provider_t, reserved_slots, 96, 40);
SIZE(tly_event_provider_t, 136, 8);

AT(qpx_event_provider_details_t, record_id, 0, 4);
AT(qpx_event_provider_details_t, name, 8, 8);
AT(qpx_event_provider_details_t, description, 16, 8);
AT(qpx_event_provider_details_t, type_system_json, 24, 8);
AT(qpx_event_provider_details_t, sources, 32, 8);
AT(qpx_event_provider_details_t, configs, 40, 8);
AT(qpx_event_provider_details_t, unused, 48, 4);
AT(qpx_event_provider_details_t, remote_id, 52, 4);
SIZE(qpx_event_provider_details_t, 56, 8);
