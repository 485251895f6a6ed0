// The output of the tool: discovery from it and a sample of it. The last byte of the
// input chooses the filters.
#include <cstdint>
#include <cstring>
#include <vector>

#include "checks.h"
#include "encoding/json_ptr.h"
#include "tallyra/vintor_provider.h"
#include "vintor/collector.h"
#include "vintor/command_runner.h"
#include "vintor/discovery.h"

namespace {

using namespace vintor::collector;
using tly::fuzz::require;
using StringArrayPtr = tly::Owned<tly_string_array_t, &tly_free_string_array>;
using GroupPtr = tly::Owned<tly_counter_group_t, &tly_destroy_counter_group>;

constexpr const char* kFilters[][2] = {
    {nullptr, nullptr}, {"vintor.pmc_res,*.x", nullptr}, {"vintor", "*bw*"}, {nullptr, "*"}};

std::string output;

StringArrayPtr list_of(const char* text) {
  return StringArrayPtr(text != nullptr
                            ? tly_string_array_from_comma_separated_string(text, std::strlen(text))
                            : nullptr);
}

// A group of the component's counters, whose values follow those of the names already there.
GroupPtr make_group(tly_provider_t& provider, int32_t index, std::vector<std::string>& names) {
  const tly_component_t& component = *provider.components[index];
  require(component.id == index && component.enabled);
  GroupPtr group(tly_create_counter_group(&provider, &component));
  for (int32_t i = 0; i < component.num_counters; ++i) {
    tly_counter_info_t& counter = *component.counters[i];
    require(counter.id == names.size() && counter.length == sizeof(tly_counter_value_t));
    require(std::string_view(counter.name).starts_with(component.name + std::string(":")));
    counter.offset = counter.id * counter.length;
    names.emplace_back(counter.name);
    require(tly_add_counter_to_group(group.get(), &counter));
  }
  return group;
}

// Reads all counters of the provider by one sample. Whether there is one.
bool check_sample(tly_provider_t& provider, bool every_section_is_enabled) {
  Collector collector;
  const bool is_sampled = collector.doCollection();
  // The names of another output, here of its own first half, are of no influence.
  std::string text = output.substr(0, output.size() / 2);
  const auto half = Collector::buildValueMap(text.data(), text.size(), nullptr);
  text = output;
  const auto sample = Collector::buildValueMap(text.data(), text.size(), half.get());
  require(is_sampled == (sample != nullptr && !output.empty()));
  std::vector<std::string> names;
  std::vector<GroupPtr> groups;
  for (int32_t index = 0; index < provider.num_components; ++index) {
    groups.push_back(make_group(provider, index, names));
    collector.addGroup(groups.back().get());
  }
  std::vector<tly_counter_value_t> values(names.size());
  for (const GroupPtr& group : groups) {
    collector.fillBuffer(group.get(), values.data());
    const tly::JsonPtr encoded(tly_counter_set_values_jsonify(group.get(), values.data()));
  }
  // A NUL inside a section's name cuts the names of its counters.
  if (is_sampled && output.find('\0') == output.npos) {
    for (std::size_t i = 0; i < names.size(); ++i) {
      const std::uint32_t position = sample->names()->find(names[i]);
      require(position != ValueNames::kNowhere && sample->at(position).u64 == values[i].u64);
    }
    require(!every_section_is_enabled || names.size() == sample->names()->size());
  }
  return is_sampled;
}

}  // namespace

// What discovery and samples run instead of the tool.
bool vintor::collector::execute_command(const char*, char** text, std::uint64_t* length) {
  *text = static_cast<char*>(std::malloc(output.size() + 1));
  std::memcpy(*text, output.c_str(), output.size() + 1);
  *length = output.size();
  return true;
}
bool vintor::collector::is_available() { return true; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto& filter = kFilters[size > 0 ? data[size - 1] % std::size(kFilters) : 0];
  output.assign(data, data + (size > 0 ? size - 1 : 0));

  const StringArrayPtr enable = list_of(filter[0]);
  const StringArrayPtr disable = list_of(filter[1]);
  const tly_options_t options{enable.get(), disable.get(), nullptr};
  tly_provider_t provider{};
  char name[] = "vintor";
  provider.name = name;
  provider.counter_group_create = &vintor_counter_group_create;
  provider.counter_group_add_counter = &vintor_counter_group_add_counter;
  provider.counter_group_destroy = &vintor_counter_group_destroy;
  const bool is_discovered = init_provider(&provider, &options);
  require(is_discovered || (provider.num_components == 0 && provider.components == nullptr));
  const bool every_section_is_enabled = filter[0] == nullptr && filter[1] == nullptr;
  const bool is_sampled = check_sample(provider, every_section_is_enabled);
  require(every_section_is_enabled ? is_sampled == is_discovered : is_discovered || !is_sampled);
  const tly::JsonPtr description(tly_jsonify_provider_info(&provider, true, true));
  for (uint16_t i = 0; i < provider.num_components; ++i) {
    tly_free_component_info(provider.components[i]);
  }
  std::free(provider.components);
  return 0;
}
