// Counter values, names and times as text: exact where programs read them, short where people do.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "tallyra/counter_data.h"

namespace tly::agent {

// The bytes of the counter's value that are certain to be there.
std::size_t value_size(const tly_counter_info_t& counter);

// The value in a values area, which may be unaligned; of a string, its first 8 characters.
tly_counter_value_t load_value(const tly_counter_info_t& counter, const void* value);

// False for the pattern that the provider writes for an unsigned counter without a value. Doubles
// have no such pattern: a missing one reads as 0.
bool has_value(const tly_counter_info_t& counter, const tly_counter_value_t& value);

// The value as a number for arithmetic; nothing for strings and missing values.
std::optional<double> numeric_value(const tly_counter_info_t& counter,
                                    const tly_counter_value_t& value);

// The change from one value to a later one; nothing when it is not known or negative.
std::optional<double> increase(const tly_counter_info_t& counter, const tly_counter_value_t& before,
                               const tly_counter_value_t& after);

// These take null for a value that is not there yet.

// The whole value: integers digit by digit, doubles in the shortest form that reads back the same.
// Empty when there is no value.
std::string exact_text(const tly_counter_info_t& counter, const void* value);
// For people: doubles with three decimals.
std::string display_text(const tly_counter_info_t& counter, const void* value);
// The exact value in JSON; null when there is none.
std::string json_text(const tly_counter_info_t& counter, const void* value);

// At most 9 characters, such as "12.5", "998.7k" or "1.2e+30".
std::string short_number(double number);

// A JSON string; bytes that are not UTF-8 become U+FFFD.
std::string json_string(std::string_view text);

// A CSV field, in quotes where it needs them.
std::string csv_field(std::string_view text);

// "2024-05-06T07:08:09.012Z", with as many digits of the second, 9 at most.
std::string utc_timestamp(std::chrono::system_clock::time_point time, int digits = 3);

}  // namespace tly::agent
