// What a provider offers, told as JSON and as text, and looked up by counter name.
#include <cstring>
#include <span>

#include "common/log.h"
#include "common/printable.h"
#include "encoding/json_builder.h"
#include "tallyra/counter_provider.h"

namespace {

using tly::JsonObjectBuilder;
using tly::JsonPtr;
using tly::make_json_array;
using tly::printable;

std::span<tly_counter_info_t* const> counters_of(const tly_component_t* component) noexcept {
  const bool has_counters = component->counters != nullptr && component->num_counters > 0;
  return {component->counters,
          has_counters ? static_cast<std::size_t>(component->num_counters) : 0};
}

std::span<tly_component_t* const> components_of(const tly_provider_t* provider) noexcept {
  return {provider->components, provider->components != nullptr ? provider->num_components : 0U};
}

// Runs the setter of one member; false, with a message, when that made the object fail.
template <typename Setter>
bool set_member(JsonObjectBuilder& object, const tly_component_t* component, const char* key,
                Setter set) noexcept {
  if (set(key); object.failed()) {
    TLY_LOG_ERROR("Failed to JSONify field '%s' of component %s", key, printable(component->name));
    return false;
  }
  return true;
}

bool set_component_members(JsonObjectBuilder& object, const tly_component_t* component) noexcept {
  const auto number = [&](double value) {
    return [&object, value](const char* key) { object.set_number(key, value); };
  };
  const auto text = [&](const char* value) {
    return [&object, value](const char* key) { object.set_required_text(key, value); };
  };
  const auto boolean = [&](bool value) {
    return [&object, value](const char* key) { object.set_boolean(key, value); };
  };
  return set_member(object, component, "id", number(component->id)) &&
         set_member(object, component, "name", text(component->name)) &&
         set_member(object, component, "description", text(component->description)) &&
         set_member(object, component, "enabled", boolean(component->enabled)) &&
         set_member(object, component, "num_counters", number(component->num_counters));
}

JsonPtr jsonify_counters(const tly_component_t* component) noexcept {
  const auto counters = counters_of(component);
  return make_json_array(counters.size(), [&](std::size_t index) {
    JSON_Value* counter = tly_counter_info_jsonify(counters[index]);
    if (counter == nullptr) {
      TLY_LOG_ERROR("Failed to JSONify counter #%d", static_cast<int>(index));
    }
    return counter;
  });
}

JsonPtr jsonify_components(const tly_provider_t* provider, bool with_counters) noexcept {
  const auto components = components_of(provider);
  return make_json_array(components.size(), [&](std::size_t index) {
    JSON_Value* component = tly_jsonify_component_info(components[index], with_counters);
    if (component == nullptr) {
      TLY_LOG_WARNING("Failed to jsonify component #%d", static_cast<int>(index));
    }
    return component;
  });
}

void print_counters(const tly_component_t* component, FILE* stream) noexcept {
  std::fprintf(stream, "  | %3s | %-10.10s | %-40s | %-60.60s |\n", "#", "COMPONENT", "COUNTER",
               "DESCRIPTION");
  int index = 0;
  for (const tly_counter_info_t* counter : counters_of(component)) {
    if (counter != nullptr) {
      std::fprintf(stream, "  | %3d | %-10.10s ", index, printable(component->name));
      tly_counter_info_print(counter, stream);
    }
    ++index;
  }
  std::fputs("  ---------------------------\n", stream);
}

}  // namespace

JSON_Value* tly_jsonify_component_info(const tly_component_t* component, bool with_counters) {
  if (component == nullptr) {
    return nullptr;
  }
  JsonObjectBuilder object;
  if (object.failed() || !set_component_members(object, component)) {
    return nullptr;
  }
  if (!component->enabled) {
    object.set_text("status_string", component->status_string);
  } else if (with_counters) {
    object.set_value("counters", jsonify_counters(component));
  }
  return object.release();
}

JSON_Value* tly_jsonify_provider_info(const tly_provider_t* provider, bool with_components,
                                      bool with_counters) {
  if (provider == nullptr) {
    return nullptr;
  }
  JsonObjectBuilder object;
  object.set_text("name", provider->name);
  object.set_text("description", provider->description);
  object.set_number("id", provider->id);
  object.set_number("version", provider->version);
  object.set_number("num_components", provider->num_components);
  if (with_components && !object.failed()) {
    object.set_value("components", jsonify_components(provider, with_counters));
  }
  return object.release();
}

void tly_print_component_info(const tly_component_t* component, bool with_counters, FILE* stream) {
  if (component == nullptr || stream == nullptr) {
    return;
  }
  std::fprintf(stream, "  %-18s : %s\n", "Component", printable(component->name));
  std::fprintf(stream, "  %-18s : %d\n", "Component id", component->id);
  std::fprintf(stream, "  %-18s : %s\n", "Description", printable(component->description));
  if (!component->enabled) {
    std::fprintf(stream, "  %-18s : %s\n", "Disabled", printable(component->status_string));
    return;
  }
  std::fprintf(stream, "  %-18s : %d\n", "Counters", component->num_counters);
  if (with_counters) {
    print_counters(component, stream);
  }
}

void tly_print_provider_info(const tly_provider_t* provider, bool with_components,
                             bool with_counters, FILE* stream) {
  if (provider == nullptr || stream == nullptr) {
    return;
  }
  std::fprintf(stream, "%-20s : %s\n", "Provider", printable(provider->name));
  std::fprintf(stream, "%-20s : %d\n", "Provider id", provider->id);
  std::fprintf(stream, "%-20s : %s\n", "Description", printable(provider->description));
  std::fprintf(stream, "%-20s : %08x\n", "Version", static_cast<unsigned>(provider->version));
  std::fprintf(stream, "%-20s : %d\n\n", "Components", provider->num_components);
  if (with_components) {
    for (const tly_component_t* component : components_of(provider)) {
      tly_print_component_info(component, with_counters, stream);
      std::fputc('\n', stream);
    }
  }
  std::fflush(stream);
}

tly_counter_info_t* tly_query_counter_information(const tly_component_t* component,
                                                  const char* name) {
  if (component == nullptr || name == nullptr) {
    return nullptr;
  }
  for (tly_counter_info_t* counter : counters_of(component)) {
    if (counter != nullptr && counter->name != nullptr && std::strcmp(counter->name, name) == 0) {
      return counter;
    }
  }
  return nullptr;
}

tly_component_t* tly_query_counter_component(const tly_provider_t* provider, const char* name) {
  if (provider == nullptr) {
    return nullptr;
  }
  for (tly_component_t* component : components_of(provider)) {
    if (tly_query_counter_information(component, name) != nullptr) {
      return component;
    }
  }
  return nullptr;
}
