// Reading the groups of a remote counter provider.
#include <algorithm>
#include <cstring>
#include <span>

#include "common/log.h"
#include "common/printable.h"
#include "mediator/provider_handler.h"

namespace tly {
namespace {

// A delivered buffer is a tly_counters_data_t, whose values the counters' offsets are relative to.
constexpr std::uint64_t kHeaderSize = sizeof(tly_counters_data_t);

bool is_empty(const tly_counter_group_t* group) noexcept {
  return group == nullptr || group->num_counters == 0 || group->counters == nullptr ||
         group->counters[0] == nullptr || group->counters[group->num_counters - 1] == nullptr;
}

// The first counter of the first group of that name; null without.
const tly_counter_info_t* first_counter_of(const tly_type_system_t* type_system,
                                           const char* group_name) noexcept {
  const tly_counters_schema_t* const schema =
      type_system != nullptr ? type_system->counters_schema : nullptr;
  if (schema == nullptr || group_name == nullptr) {
    return nullptr;
  }
  const std::span groups(schema->groups, schema->num_groups);
  const auto found = std::find_if(groups.begin(), groups.end(), [group_name](const auto* group) {
    return group->name != nullptr && std::strcmp(group->name, group_name) == 0;
  });
  return found != groups.end() && !is_empty(*found) ? (*found)->counters[0] : nullptr;
}

}  // namespace

bool GrpcHandler::ProviderHandler::onReadCounterGroup(const RemoteClient& client,
                                                      const tly_counter_group_t* group,
                                                      tly_counter_value_t* values) {
  if (is_empty(group)) {
    TLY_LOG_DEBUG("[RPE mediator provider] empty counter group");
    return true;
  }
  if (group->provider == nullptr || group->provider->context == nullptr || values == nullptr) {
    return false;
  }
  auto& handler = *static_cast<ProviderHandler*>(group->provider->context);
  if (handler.remote_buffer_ == nullptr) {
    const Delivery delivery = handler.fetch_counters(client, *group);
    if (delivery != Delivery::kData) {
      return delivery == Delivery::kNothing;
    }
  }
  Slice slice{};
  const bool located = handler.prepareCountersBuffersMemcpy(*group, values, slice);
  if (located) {
    std::copy_n(slice.source, slice.length, slice.destination);
  } else {
    TLY_LOG_ERROR(
        "[RPE mediator provider] failed to calculate buffer offset. will not read group %s",
        printable(group->name));
  }
  if (group->component_id == group->provider->num_components - 1) {
    handler.onEndProgress();
  }
  return located;
}

// Begins a read cycle, which only the group of component 0 does.
GrpcHandler::ProviderHandler::Delivery GrpcHandler::ProviderHandler::fetch_counters(
    const RemoteClient& client, const tly_counter_group_t& group) {
  if (group.component_id != 0) {
    TLY_LOG_WARNING(
        "[RPE mediator provider] will skip component %s since buffer returned from remote %s "
        "plugin is NULL",
        printable(group.component != nullptr ? group.component->name : nullptr),
        printable(group.name));
    return Delivery::kFailed;
  }
  const Delivery delivery = fetch(client, 0);
  if (delivery == Delivery::kFailed) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] could not complete 'progress' call to %s",
                  "onReadCounterGroup", printable(getName()));
  } else if (delivery == Delivery::kNothing) {
    TLY_LOG_DEBUG("[RPE mediator provider] 0 bytes received from remote %s plugin",
                  printable(group.name));
  } else if (delivery == Delivery::kNullBuffer) {
    TLY_LOG_ERROR("[RPE mediator provider] buffer returned from remote %s plugin is NULL",
                  printable(group.name));
  }
  return delivery;
}

// Finds the group's values in the remote buffer; false, with a message, when they are not there.
bool GrpcHandler::ProviderHandler::prepareCountersBuffersMemcpy(const tly_counter_group_t& group,
                                                                tly_counter_value_t* values,
                                                                Slice& slice) const noexcept {
  constexpr const char* kFunction = "prepareCountersBuffersMemcpy";
  const tly_counter_info_t& first = *group.counters[0];
  const tly_counter_info_t& last = *group.counters[group.num_counters - 1];
  slice.length = last.offset + last.length - first.offset;
  slice.destination = reinterpret_cast<std::uint8_t*>(values) + first.offset;

  const tly_counter_info_t* const remote_first =
      first_counter_of(counter_type_system_.get(), group.name);
  if (remote_first == nullptr) {
    TLY_LOG_ERROR("[RPE mediator provider] [%s] failed to find %s buffer offset", kFunction,
                  printable(group.name));
    return false;
  }
  const std::uint64_t offset = kHeaderSize + remote_first->offset;
  const std::uint64_t left = offset < buffer_size_ ? buffer_size_ - offset : 0;
  if (offset > buffer_size_ || slice.length > left) {
    TLY_LOG_ERROR(
        "[RPE mediator provider] [%s] the required buffer to copy %s is bigger than the buffer "
        "from remote(need to copy %zuB, only %zuB left)",
        kFunction, printable(group.name), static_cast<std::size_t>(slice.length),
        static_cast<std::size_t>(left));
    return false;
  }
  slice.source = static_cast<const std::uint8_t*>(remote_buffer_) + offset;
  return true;
}

}  // namespace tly
