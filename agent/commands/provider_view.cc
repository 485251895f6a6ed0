#include "commands/provider_view.h"

namespace tly::agent {

ProviderView::ProviderView(const Selection& selection, std::size_t source, const TextForm& form)
    : record_(*selection.sources[source].provider) {
  record_.name = keep(form, selection.sources[source].name.c_str());
  record_.description = keep(form, record_.description);
  for (const SelectedComponent& selected : selection.components) {
    if (selected.source == source) {
      add(selected, form);
    }
  }
  record_.num_components = static_cast<std::uint16_t>(component_list_.size());
  record_.components = component_list_.data();
}

void ProviderView::add(const SelectedComponent& selected, const TextForm& form) {
  std::vector<tly_counter_info_t*>& list = counter_lists_.emplace_back();
  for (const SelectedCounter& selected_counter : selected.counters) {
    tly_counter_info_t& counter = counters_.emplace_back(*selected_counter.info);
    counter.name = keep(form, selected_counter.name.c_str());
    counter.description = keep(form, counter.description);
    counter.units = keep(form, counter.units);
    list.push_back(&counter);
  }
  tly_component_t& component = components_.emplace_back(*selected.component);
  component.name = keep(form, component.name);
  component.description = keep(form, component.description);
  component.status_string = keep(form, component.status_string);
  component.num_counters = static_cast<std::int32_t>(list.size());
  component.counters = list.data();
  component_list_.push_back(&component);
}

char* ProviderView::keep(const TextForm& form, const char* text) {
  return texts_.emplace_back(form(text != nullptr ? text : "")).data();
}

}  // namespace tly::agent
