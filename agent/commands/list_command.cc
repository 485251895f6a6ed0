#include "commands/list_command.h"

#include <string>

#include "host/owned.h"
#include "output/table.h"
#include "output/terminal.h"
#include "output/text.h"

namespace tly::agent {
namespace {

std::string text_or(const char* text, const char* otherwise) {
  return text != nullptr && *text != '\0' ? text : otherwise;
}

// The upper and the lower half of the provider's version word.
std::string provider_version(std::int32_t version) {
  const auto word = static_cast<std::uint32_t>(version);
  return std::to_string(word >> 16U) + "." + std::to_string(word & 0xFFFFU);
}

// Builds the document; running out of memory is the only failure there is.
class ListEncoder {
 public:
  explicit ListEncoder(const Plugin& plugin) : plugin_(plugin) {}

  Json providers(const Selection& selection) const {
    Json result = owned(plugin_.json_value_init_array());
    for (std::size_t i = 0; i < selection.sources.size(); ++i) {
      append(result, provider(selection, i));
    }
    return result;
  }

  Json provider(const Selection& selection, std::size_t source) const {
    const tly_provider_t& record = *selection.sources[source].provider;
    Json result = owned(plugin_.json_value_init_object());
    set_string(result, "name", selection.sources[source].name.c_str());
    set_string(result, "description", record.description);
    set_number(result, "version", record.version);
    Json components = owned(plugin_.json_value_init_array());
    for (const SelectedComponent& selected : selection.components) {
      if (selected.source == source) {
        append(components, component(selected));
      }
    }
    set(result, "components", std::move(components));
    return result;
  }

 private:
  Json component(const SelectedComponent& selected) const {
    const tly_component_t& record = *selected.component;
    Json result = owned(plugin_.json_value_init_object());
    set_number(result, "id", record.id);
    set_string(result, "name", selected.name.c_str());
    set_string(result, "description", record.description);
    set_string(result, "granularity", plugin_.tly_granularity_string(record.granularity));
    Json counters = owned(plugin_.json_value_init_array());
    for (const SelectedCounter& counter : selected.counters) {
      Json encoded = owned(plugin_.tly_counter_info_jsonify(counter.info));
      set_string(encoded, "name", counter.name.c_str());
      append(counters, std::move(encoded));
    }
    set(result, "counters", std::move(counters));
    return result;
  }

  Json owned(JSON_Value* value) const { return required(plugin_, value); }

  // A missing text, or one that is not UTF-8, is left out.
  void set_string(const Json& target, const char* name, const char* text) const {
    plugin_.json_object_set_string(plugin_.json_value_get_object(target.get()), name, text);
  }

  void set_number(const Json& target, const char* name, double number) const {
    plugin_.json_object_set_number(plugin_.json_value_get_object(target.get()), name, number);
  }

  void set(const Json& target, const char* name, Json value) const {
    JSON_Object* const object = plugin_.json_value_get_object(target.get());
    take(value, plugin_.json_object_set_value(object, name, value.get()));
  }

  void append(const Json& target, Json value) const {
    JSON_Array* const array = plugin_.json_value_get_array(target.get());
    take(value, plugin_.json_array_append_value(array, value.get()));
  }

  // The container owns the value once it has accepted it.
  static void take(Json& value, JSON_Status status) {
    if (status != JSONSuccess) {
      throw std::bad_alloc();
    }
    [[maybe_unused]] const JSON_Value* const owned_by_container = value.release();
  }

  const Plugin& plugin_;
};

Table counter_table(const Plugin& plugin, const SelectedComponent& selected) {
  Table table({{.heading = "  COUNTER"},
               {.heading = "TYPE"},
               {.heading = "COUNTING"},
               {.heading = "UNIT"},
               {.heading = "DESCRIPTION"}});
  for (const SelectedCounter& counter : selected.counters) {
    const tly_counter_info_t& info = *counter.info;
    table.add_row({"  " + counter.label, text_or(plugin.tly_data_type_string(info.data_type), "?"),
                   text_or(plugin.tly_counting_type_string(info.counting_type), "?"),
                   text_or(info.units, "-"), text_or(info.description, "-")});
  }
  return table;
}

std::string heading(const CounterSource& source) {
  const tly_provider_t& provider = *source.provider;
  return "Provider " + printable(source.name.empty() ? "(no name)" : source.name) + " " +
         provider_version(provider.version) + ": " +
         printable(text_or(provider.description, "(no description)")) + "\n";
}

}  // namespace

void list_as_text(const Plugin& plugin, const Selection& selection) {
  std::string text;
  std::size_t sources_shown = 0;
  for (const SelectedComponent& selected : selection.components) {
    if (selected.source == sources_shown) {
      text += (text.empty() ? "" : "\n") + heading(selection.sources[sources_shown++]);
    }
    const std::size_t count = selected.counters.size();
    text += "\nComponent " + printable(selected.label) + ", " + std::to_string(count) +
            (count == 1 ? " counter\n" : " counters\n");
    for (const std::string& line : counter_table(plugin, selected).lines(Table::kUnlimited, "")) {
      text += line + "\n";
    }
  }
  write_output(text);
}

void list_as_json(const Plugin& plugin, const Selection& selection, bool as_array) {
  const ListEncoder encoder(plugin);
  const Json document = as_array ? encoder.providers(selection) : encoder.provider(selection, 0);
  const JsonText text = required(plugin, plugin.json_serialize_to_string_pretty(document.get()));
  write_output(std::string(text.get()) + "\n");
}

}  // namespace tly::agent
