#include "vintor/value_rules.h"

#include <new>

#include "common/load_order.h"
#include "tallyra/settings.h"

namespace vintor::collector {
namespace {

struct ComponentSetting {
  const char* component;
  const char* setting;
  bool default_value;
};

constexpr ComponentSetting kComponentSettings[] = {
    {"pmc_res", "TLY_VINTOR_PMC_RES_IS_UINT", true},
    {"pmc_res_bw", "TLY_VINTOR_PMC_RES_BW_IS_UINT", false},
    {"pmc_res_bw_agg", "TLY_VINTOR_PMC_RES_BW_AGG_IS_UINT", false},
};

// Runs while the library is being loaded, where an exception would end the host: without memory no
// component is known to hold integers.
std::unordered_map<std::string, bool> read_component_settings() noexcept {
  std::unordered_map<std::string, bool> is_uint;
  try {
    for (const ComponentSetting& row : kComponentSettings) {
      is_uint.emplace(row.component, tly_getenv_bool(row.setting, row.default_value));
    }
  } catch (const std::bad_alloc&) {
    is_uint.clear();
  }
  return is_uint;
}

}  // namespace

__attribute__((init_priority(TLY_LOAD_PRIORITY_SETTINGS_MAP)))
const std::unordered_map<std::string, bool>
    comp_name_to_is_uint = read_component_settings();

bool component_is_unsigned(const std::string& component) {
  const auto found = comp_name_to_is_uint.find(component);
  return found != comp_name_to_is_uint.end() && found->second;
}

bool may_be_unsigned(std::string_view last_key) { return last_key != "freq_mhz"; }

NameParts name_parts(std::string_view section, const std::vector<std::string>& key_path) {
  return {section, key_path[key_path.size() - 2], key_path.back()};
}

void append_name(std::string& text, const NameParts& parts) {
  text.append(parts.section).append(1, ':').append(parts.instance).append(1, ':');
  text.append(parts.counter);
}

bool is_name_of(std::string_view name, const NameParts& parts) {
  const std::size_t instance_begin = parts.section.size() + 1;
  const std::size_t counter_begin = instance_begin + parts.instance.size() + 1;
  return name.size() == counter_begin + parts.counter.size() && name.ends_with(parts.counter) &&
         name[counter_begin - 1] == ':' &&
         name.substr(instance_begin, parts.instance.size()) == parts.instance &&
         name[instance_begin - 1] == ':' && name.starts_with(parts.section);
}

}  // namespace vintor::collector
