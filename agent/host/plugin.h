// The plug-in library, loaded at run time, with the functions of it that the agent calls.
#pragma once

#include <memory>
#include <string>

#include "tallyra/counter_data.h"
#include "tallyra/counter_group.h"
#include "tallyra/counter_provider.h"
#include "tallyra/counters_schema.h"
#include "tallyra/dictionary.h"
#include "tallyra/logging.h"
#include "tallyra/name_matching.h"
#include "tallyra/parson.h"
#include "tallyra/rpe_mediator.h"
#include "tallyra/schema.h"
#include "tallyra/schema_id.h"
#include "tallyra/settings.h"
#include "tallyra/sources.h"
#include "tallyra/string_array.h"
#include "tallyra/type_definition.h"
#include "tallyra/type_system.h"
#include "tallyra/version.h"
#include "tallyra/vintor_provider.h"

namespace tly::agent {

// Every function that the agent takes from the library, by its exported name.
#define TALLYRA_AGENT_FUNCTIONS(X)                   \
  X(construct_counter_provider)                      \
  X(json_array_append_value)                         \
  X(json_free_serialized_string)                     \
  X(json_object_get_array)                           \
  X(json_object_get_value)                           \
  X(json_parse_string)                               \
  X(json_serialize_to_string)                        \
  X(json_serialize_to_string_pretty)                 \
  X(json_value_free)                                 \
  X(json_value_get_array)                            \
  X(json_value_get_object)                           \
  X(json_value_init_array)                           \
  X(rpe_mediator_construct_counter_provider)         \
  X(rpe_mediator_construct_event_provider)           \
  X(tly_add_counter_to_group)                        \
  X(tly_append_string_array)                         \
  X(tly_counters_load_schema_from_dir)               \
  X(tly_counters_schema_append_group)                \
  X(tly_counters_schema_serialize)                   \
  X(tly_counters_schema_size_of_counters)            \
  X(tly_counters_schema_update_counter_offsets)      \
  X(tly_create_counter_group)                        \
  X(tly_create_counters_schema)                      \
  X(tly_create_default_source_array)                 \
  X(tly_create_type_system)                          \
  X(tly_data_type_string)                            \
  X(tly_destroy_counter_group)                       \
  X(tly_destroy_counters_schema)                     \
  X(tly_destroy_source_array)                        \
  X(tly_destroy_type_system)                         \
  X(tly_dict_add)                                    \
  X(tly_dict_create)                                 \
  X(tly_dict_delete)                                 \
  X(tly_free_string_array)                           \
  X(tly_get_schema_id_from_pretty_json_string)       \
  X(tly_getenv)                                      \
  X(tly_getenv_bool)                                 \
  X(tly_init_string_array)                           \
  X(tly_jsonify_provider_info)                       \
  X(_tly_log)                                        \
  X(tly_match_counter_names)                         \
  X(tly_print_provider_info)                         \
  X(tly_match_patterns)                              \
  X(tly_plugin_is_enabled)                           \
  X(tly_register_logger)                             \
  X(tly_schema_extract_id)                           \
  X(tly_schema_from_id_string)                       \
  X(tly_schema_id_to_schema_string)                  \
  X(tly_set_log_level)                               \
  X(tly_start_counting_group)                        \
  X(tly_stop_counting_group)                         \
  X(tly_string_array_from_comma_separated_string)    \
  X(tly_type_field_definition_jsonify_data)          \
  X(tly_type_system_add_schema_from_serialized_json) \
  X(tly_type_system_fill_counter_schema_id)          \
  X(tly_type_system_from_json)                       \
  X(tly_type_system_get_max_event_type_size)         \
  X(tly_type_system_serialize)                       \
  X(tly_version_string)                              \
  X(vintor_collector_is_available)

class Plugin {
 public:
  // Loads the library: `requested` when it is not empty, else TALLYRA_LIBRARY when that is set,
  // else the first one found beside the executable, in the library directory that belongs to it, or
  // by the dynamic loader. Throws Failure.
  explicit Plugin(const std::string& requested);

  // The file that was loaded.
  const std::string& path() const { return path_; }

  // NOLINTNEXTLINE(bugprone-macro-parentheses)
#define TALLYRA_AGENT_DECLARE(name) decltype(&::name) name = nullptr;
  TALLYRA_AGENT_FUNCTIONS(TALLYRA_AGENT_DECLARE)
#undef TALLYRA_AGENT_DECLARE

 private:
  struct Unload {
    void operator()(void* handle) const;
  };

  template <typename Function>
  void resolve(Function& function, const char* name);

  std::unique_ptr<void, Unload> handle_;
  std::string path_;
};

}  // namespace tly::agent
