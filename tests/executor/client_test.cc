#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>

#include "allocation_failure.h"
#include "tallyra/qpx_client.h"

extern "C" {
void* qpx_client_init(void);
void qpx_client_destroy(void* ctx);
bool qpx_client_event_provider_create(void* ctx, const char* name, const tly_custom_options*,
                                      qpx_event_provider_details_t* details);
bool qpx_client_counter_provider_create(void* ctx, const char* name, const tly_options_t*,
                                        qpx_event_provider_details_t* details);
bool qpx_client_event_provider_progress(void* ctx, uint32_t id, uint16_t source, void** buffer,
                                        uint64_t* size);
bool qpx_client_run_command(void* ctx, const char* command, bool flag, uint32_t time_limit,
                            char** output, uint64_t* length);
}

namespace {

using Details = qpx_event_provider_details_t;

TEST(Client, WritesAllOrNothingWhenMemoryRunsOut) {
  void* const ctx = qpx_client_init();
  Details untouched;
  std::memset(&untouched, 0xA5, sizeof untouched);
  uint32_t host_id = 0;
  for (const bool is_event : {true, false}) {
    std::string description;
    const auto create = [&] {
      std::pair<bool, Details> result(false, untouched);
      result.first = is_event
                         ? qpx_client_event_provider_create(ctx, "process", nullptr, &result.second)
                         : qpx_client_counter_provider_create(ctx, "host", nullptr, &result.second);
      return result;
    };
    const auto check = [&](const std::pair<bool, Details>& result, bool fired) {
      const Details& details = result.second;
      EXPECT_TRUE(result.first || fired);
      if (!result.first) {
        EXPECT_EQ(std::memcmp(&details, &untouched, sizeof details), 0);
        return;
      }
      EXPECT_STREQ(details.name, is_event ? "process" : "host");
      EXPECT_EQ(details.sources != nullptr && details.configs != nullptr, is_event);
      EXPECT_TRUE(description.empty() || description == details.type_system_json);
      description = details.type_system_json;
      host_id = details.remote_id;
      std::free(details.name);
      std::free(details.description);
      std::free(details.type_system_json);
      std::free(details.configs);
      tly_destroy_source_array(details.sources);
    };
    check(create(), false);
    tly::test::with_each_allocation_failing(create, check);
  }

  void* buffer = ctx;
  uint64_t size = 7;
  char* output = nullptr;
  const auto deliver = [&](bool runs_command) {
    return runs_command ? qpx_client_run_command(ctx, "echo out", true, 9, &output, &size)
                        : qpx_client_event_provider_progress(ctx, host_id, 0, &buffer, &size);
  };
  for (const bool runs_command : {false, true}) {
    const tly::test::FailingAllocation failing;
    EXPECT_FALSE(deliver(runs_command));
  }
  EXPECT_TRUE(buffer == ctx && size == 7 && output == nullptr);
  EXPECT_TRUE(deliver(false) && deliver(true));
  EXPECT_STREQ(output, "out\n");
  std::free(buffer);
  std::free(output);
  qpx_client_destroy(ctx);
}

}  // namespace
