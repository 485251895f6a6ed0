// The plug-in library, loaded at run time, with the functions of it that the agent calls.
#pragma once

#include <memory>
#include <string>

#include "parson.h"
#include "tallyra/counter_data.h"
#include "tallyra/counter_group.h"
#include "tallyra/counter_provider.h"
#include "tallyra/logging.h"
#include "tallyra/name_matching.h"
#include "tallyra/settings.h"
#include "tallyra/string_array.h"
#include "tallyra/version.h"
#include "tallyra/vintor_provider.h"

namespace tly::agent {

// Every function that the agent takes from the library, by its exported name.
#define TALLYRA_AGENT_FUNCTIONS(X)                \
  X(construct_counter_provider)                   \
  X(json_array_append_value)                      \
  X(json_free_serialized_string)                  \
  X(json_object_set_number)                       \
  X(json_object_set_string)                       \
  X(json_object_set_value)                        \
  X(json_serialize_to_string_pretty)              \
  X(json_value_free)                              \
  X(json_value_get_array)                         \
  X(json_value_get_object)                        \
  X(json_value_init_array)                        \
  X(json_value_init_object)                       \
  X(tly_add_counter_to_group)                     \
  X(tly_append_string_array)                      \
  X(tly_counter_info_jsonify)                     \
  X(tly_counting_type_string)                     \
  X(tly_create_counter_group)                     \
  X(tly_data_type_string)                         \
  X(tly_destroy_counter_group)                    \
  X(tly_free_string_array)                        \
  X(tly_getenv)                                   \
  X(tly_granularity_string)                       \
  X(tly_init_string_array)                        \
  X(tly_match_counter_names)                      \
  X(tly_register_logger)                          \
  X(tly_set_log_level)                            \
  X(tly_start_counting_group)                     \
  X(tly_stop_counting_group)                      \
  X(tly_string_array_from_comma_separated_string) \
  X(tly_string_array_join)                        \
  X(tly_version_string)                           \
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

// A string array of the library's.
struct FreeStringArray {
  const Plugin* plugin;
  void operator()(tly_string_array_t* array) const { plugin->tly_free_string_array(array); }
};
using StringArray = std::unique_ptr<tly_string_array_t, FreeStringArray>;

}  // namespace tly::agent
