#include "tallyra/data_serializer.h"

#include <gmock/gmock.h>

#include <cstring>
#include <ctime>
#include <string>

#include "log_capture.h"

namespace tly::test {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;

// A data area of 600 bytes, whatever capacity is claimed, and a type system with one type.
struct Fixture {
  Fixture(uint64_t capacity, uint64_t used, uint64_t type_size)
      : serializer{&type_system, reinterpret_cast<uint8_t*>(area.data()), capacity, used} {
    type.size = type_size;
    schema.types[2] = &type;
    schema.num_types = 255;
    schema.id.bytes[15] = 0xA1;
    type_system.schemas[1] = &schema;
    type_system.num_schemas = 255;
  }
  void expect_record(uint64_t at, const std::string& time, uint8_t count) {
    const std::string record =
        "TLYE" + time + "\1\2\0"s + static_cast<char>(count) + events.substr(0, count * type.size);
    EXPECT_EQ(area, std::string(600, '#').replace(at, record.size(), record));
    EXPECT_EQ(serializer.used, at + record.size());
  }
  void expect_record_of_now(uint64_t at, uint8_t count) {
    uint64_t time_us = 0;
    std::memcpy(&time_us, &area[at + 4], sizeof time_us);
    EXPECT_NEAR(static_cast<double>(time_us), static_cast<double>(std::time(nullptr)) * 1e6, 5e6);
    expect_record(at, area.substr(at + 4, 8), count);
  }
  tly_type_definition_t type{};
  tly_schema_t schema{};
  tly_type_system_t type_system{};
  std::string events = std::string(300, 'a') + std::string(300, 'b');
  std::string area = std::string(600, '#');
  tly_data_serializer_t serializer;
};

// How many events are to be added to a filled buffer, how many are, and how many fit; and the rest
// of the message about a buffer that cannot be handed out.
constexpr struct {
  uint64_t capacity, used, type_size;
  uint8_t count, written;
  uint64_t fitting;
  const char* refusal;
} kAdditions[] = {{100, 0, 16, 10, 5, 5, "84 < data_size = 160"},
                  {100, 96, 16, 1, 0, 0, "0 < data_size = 16"},
                  {101, 5, 16, 3, 3, 5, nullptr},
                  {100, 84, 16, 0, 0, 0, nullptr},
                  {100, 85, 16, 0, 0, 0, "0 < data_size = 0"},
                  {1'000'016, 0, 1, 255, 255, 1'000'000, nullptr},
                  {100, 200, 1, 1, 0, 0, "0 < data_size = 1"},
                  {8, UINT64_MAX, 1, 0, 0, 0, "0 < data_size = 0"},
                  {UINT64_MAX, 7, 2, 1, 1, UINT64_MAX / 2 - 11, nullptr},
                  {600, 0, 1ULL << 57, 128, 0, 0, "584 < data_size = 18446744073709551615"}};

TEST(DataSerializer, WritesAsManyEventsAsFit) {
  uint64_t time_us = 0;
  std::memcpy(&time_us, "12345678", sizeof time_us);
  for (const auto& c : kAdditions) {
    Fixture f(c.capacity, c.used, c.type_size);
    EXPECT_EQ(tly_data_serializer_get_capacity(&f.serializer, 1, 2), c.fitting);
    EXPECT_EQ(
        tly_data_serializer_write_events_ts(&f.serializer, 1, 2, &f.events[0], c.count, time_us),
        c.written);
    if (c.written == 0) {
      EXPECT_EQ(f.serializer.used, c.used);
      EXPECT_EQ(f.area, std::string(600, '#'));
      continue;
    }
    f.expect_record(c.used, "12345678", c.written);
    f.serializer.used = c.used;
    tly_data_serializer_write_events(&f.serializer, 1, 2, &f.events[0], c.count);
    f.expect_record_of_now(c.used, c.written);
  }
}

TEST(DataSerializer, HandsOutRoomForAllEventsOrNone) {
  for (const auto& c : kAdditions) {
    const LogCapture log;
    Fixture f(c.capacity, c.used, c.type_size);
    uint64_t size = 1234;
    void* const events = tly_data_serializer_get_events_buffer(&f.serializer, 1, 2, c.count, &size);
    if (c.refusal != nullptr) {
      EXPECT_THAT(log.texts(7),
                  ElementsAre("[Data Serializer][tly_data_serializer_get_events_buffer] Cannot get "
                              "data buffer. free_space = "s +
                              c.refusal));
      EXPECT_TRUE(events == nullptr && f.serializer.used == c.used && size == 1234);
    } else {
      std::memcpy(events, f.events.data(), size);
      f.expect_record_of_now(c.used, c.count);
    }
  }
}

TEST(DataSerializer, ReservesBytesUpToTheLast) {
  Fixture f(600, 100, 1);
  EXPECT_EQ(tly_data_serializer_reserve_buffer(&f.serializer, 501), nullptr);
  EXPECT_EQ(tly_data_serializer_reserve_buffer(&f.serializer, 500), f.serializer.buffer + 100);
  EXPECT_EQ(f.serializer.used++, 600U);
  EXPECT_EQ(tly_data_serializer_reserve_buffer(&f.serializer, 1), nullptr);
  EXPECT_EQ(tly_data_serializer_write_events(&f.serializer, 1, 2, nullptr, 1), 0U);
  f.serializer = {&f.type_system, nullptr, 600, 0};
  EXPECT_EQ(tly_data_serializer_write_events(&f.serializer, 1, 2, "e", 1), 0U);
}

TEST(DataSerializer, ReportsTypesWithoutSizeOncePerFunctionAndReadsNothingBeyondTheArrays) {
  const LogCapture log;
  Fixture f(600, 0, 0);
  constexpr uint8_t kIndexes[][2] = {{1, 2}, {1, 0}, {1, 254}, {1, 255}, {254, 2}, {255, 2}};
  for (const auto& [schema, type] : kIndexes) {
    EXPECT_EQ(tly_data_serializer_write_events(&f.serializer, schema, type, "", 1), 0U);
    const auto other_schema = static_cast<uint8_t>(255 - schema);
    EXPECT_EQ(tly_data_serializer_get_capacity(&f.serializer, other_schema, type), 0U);
  }
  EXPECT_EQ(f.serializer.used, 0U);
  const std::string zeros(30, '0');
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine{3, "schema " + zeros + "a1 type index 2 size is zero"},
                          LogLine{3, "schema " + zeros + "00 type index 2 size is zero"}));
}

}  // namespace
}  // namespace tly::test
