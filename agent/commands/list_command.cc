#include "commands/list_command.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "commands/provider_view.h"
#include "common/text.h"
#include "host/owned.h"
#include "output/terminal.h"

namespace tly::agent {
namespace {

// What print(stream) writes.
template <typename Print>
std::string printed(Print print) {
  char* text = nullptr;
  std::size_t length = 0;
  FILE* const stream = open_memstream(&text, &length);
  if (stream == nullptr) {
    throw std::bad_alloc();
  }
  print(stream);
  const bool is_whole = std::fclose(stream) == 0;
  const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
  return is_whole ? std::string(text, length) : throw std::bad_alloc();
}

// The text as it is where JSON can hold it: one that is not UTF-8 would make the whole fail.
std::string encodable(std::string_view text) {
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t length = utf8_character_length(rest);
    if (length == 0) {
      return printable(text);
    }
    rest.remove_prefix(length);
  }
  return std::string(text);
}

Json description(const Plugin& plugin, const Selection& selection, std::size_t source) {
  const ProviderView view(selection, source, &encodable);
  return required(plugin, plugin.tly_jsonify_provider_info(&view.record(), true, true));
}

Json descriptions(const Plugin& plugin, const Selection& selection) {
  Json array = required(plugin, plugin.json_value_init_array());
  for (std::size_t source = 0; source < selection.sources.size(); ++source) {
    Json element = description(plugin, selection, source);
    if (plugin.json_array_append_value(plugin.json_value_get_array(array.get()), element.get()) !=
        JSONSuccess) {
      throw std::bad_alloc();
    }
    [[maybe_unused]] const JSON_Value* const owned_by_array = element.release();
  }
  return array;
}

}  // namespace

void list_as_text(const Plugin& plugin, const Selection& selection) {
  write_output(printed([&](FILE* stream) {
    for (std::size_t source = 0; source < selection.sources.size(); ++source) {
      const ProviderView view(selection, source, &printable);
      plugin.tly_print_provider_info(&view.record(), true, true, stream);
    }
  }));
}

void list_as_json(const Plugin& plugin, const Selection& selection, bool as_array) {
  const Json document =
      as_array ? descriptions(plugin, selection) : description(plugin, selection, 0);
  const JsonText text = required(plugin, plugin.json_serialize_to_string_pretty(document.get()));
  write_output(std::string(text.get()) + "\n");
}

}  // namespace tly::agent
