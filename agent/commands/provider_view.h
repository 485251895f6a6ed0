// A provider record that holds what is selected of a provider, for the library to describe.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/selection.h"

namespace tly::agent {

class ProviderView {
 public:
  // The form that each text takes; missing ones are empty.
  using TextForm = std::function<std::string(std::string_view)>;

  ProviderView(const Selection& selection, std::size_t source, const TextForm& form);
  ProviderView(const ProviderView&) = delete;
  ProviderView& operator=(const ProviderView&) = delete;

  // Valid as long as the view.
  const tly_provider_t& record() const { return record_; }

 private:
  void add(const SelectedComponent& selected, const TextForm& form);
  char* keep(const TextForm& form, const char* text);

  tly_provider_t record_{};
  std::vector<tly_component_t*> component_list_;
  // Their elements stay where they are.
  std::deque<tly_component_t> components_;
  std::deque<tly_counter_info_t> counters_;
  std::deque<std::vector<tly_counter_info_t*>> counter_lists_;
  std::deque<std::string> texts_;
};

}  // namespace tly::agent
