#include "tallyra/counter_data.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "common/numeric.h"
#include "common/owned.h"
#include "common/printable.h"
#include "counters/counter_decoding.h"
#include "counters/guarded_free.h"
#include "encoding/json_builder.h"
#include "tallyra/string_utils.h"

namespace {

using tly::Owned;

constexpr const char* kSourceName = "counter_data";

constexpr tly_pair_t kCountingTypes[] = {
    {TLY_COUNTING_TYPE_ABSOLUTE, "ABSOLUTE"},
    {TLY_COUNTING_TYPE_ABSOLUTE_MONOTONIC, "ABSOLUTE_MONOTONIC"},
    {TLY_COUNTING_TYPE_RUNNING_SUM, "RUNNING_SUM"},
    {-1, nullptr},
};

constexpr tly_pair_t kDataTypes[] = {
    {TLY_DATA_TYPE_UNDEFINED, "Undefined"},
    {TLY_DATA_TYPE_UINT64, "UINT64"},
    {TLY_DATA_TYPE_FP64, "FP64"},
    {TLY_DATA_TYPE_BIT64, "BIT64"},
    {TLY_DATA_TYPE_INT64, "INT64"},
    {TLY_DATA_TYPE_STRING, "STRING"},
    {-1, nullptr},
};

constexpr tly_pair_t kGranularities[] = {
    {TLY_GRANULARITY_NODE, "NODE"},
    {TLY_GRANULARITY_CPU, "CPU"},
    {TLY_GRANULARITY_PACKAGE, "PACKAGE"},
    {-1, nullptr},
};

constexpr char* tly_counter_info_t::*kOwnedTexts[] = {
    &tly_counter_info_t::name,
    &tly_counter_info_t::description,
    &tly_counter_info_t::units,
};

uint32_t value_of(const tly_pair_t* table, const char* name) noexcept {
  return name != nullptr ? pair_get_number(table, name) : TLY_ENUM_UNKNOWN;
}

// Releases a partial copy; the strings it lacks draw their warnings.
void release_copy(tly_counter_info_t* counter) noexcept {
  tly_destroy_counter_info(counter);
  std::free(counter);
}

// Releases a partly decoded record in silence.
void release_decoded(tly_counter_info_t* counter) noexcept {
  for (const auto text : kOwnedTexts) {
    std::free(counter->*text);
  }
  std::free(counter);
}

// A 32-bit word, written as a signed or as an unsigned number: what fits either keeps its bits.
uint32_t word_of(const JSON_Object* object, const char* key) noexcept {
  const auto number = tly::saturate_to<int64_t>(json_object_get_number(object, key));
  return static_cast<uint32_t>(std::clamp<int64_t>(number, INT32_MIN, UINT32_MAX));
}

bool flag_of(const JSON_Object* object, const char* key) noexcept {
  return tly::saturate_to<int64_t>(json_object_get_number(object, key)) != 0;
}

}  // namespace

const char* tly_data_type_string(uint32_t data_type) {
  return pair_get_string(kDataTypes, data_type);
}

uint32_t tly_data_type_from_string(const char* name) { return value_of(kDataTypes, name); }

const char* tly_granularity_string(uint32_t granularity) {
  return pair_get_string(kGranularities, granularity);
}

uint32_t tly_granularity_from_string(const char* name) { return value_of(kGranularities, name); }

const char* tly_counting_type_string(uint32_t counting_type) {
  return pair_get_string(kCountingTypes, counting_type);
}

void tly_destroy_counter_info(tly_counter_info_t* counter) {
  if (counter == nullptr) {
    return;
  }
  TLY_GUARDED_FREE(counter->name);
  TLY_GUARDED_FREE(counter->description);
  TLY_GUARDED_FREE(counter->units);
}

tly_counter_info_t* tly_counter_info_deep_copy(const tly_counter_info_t* counter) {
  if (counter == nullptr) {
    return nullptr;
  }
  Owned<tly_counter_info_t, &release_copy> copy(
      tly::allocate_zeroed<tly_counter_info_t>().release());
  if (copy == nullptr) {
    return nullptr;
  }
  for (const auto text : kOwnedTexts) {
    const char* source = counter->*text;
    if (source != nullptr && (copy.get()->*text = strdup(source)) == nullptr) {
      return nullptr;
    }
  }
  copy->id = counter->id;
  copy->data_type = counter->data_type;
  copy->counting_type = counter->counting_type;
  copy->offset = counter->offset;
  copy->length = counter->length;
  copy->aux = counter->aux;
  copy->hidden = counter->hidden;
  copy->mandatory = counter->mandatory;
  return copy.release();
}

JSON_Value* tly_counter_info_jsonify(const tly_counter_info_t* counter) {
  if (counter == nullptr) {
    return nullptr;
  }
  tly::JsonObjectBuilder object;
  object.set_text("name", counter->name);
  object.set_text("description", counter->description);
  object.set_text("units", counter->units);
  object.set_text("data_type", tly_data_type_string(counter->data_type));
  object.set_number("length", counter->length);
  object.set_number("offset", counter->offset);
  object.set_number("hidden", counter->hidden ? 1 : 0);
  object.set_number("mandatory", counter->mandatory ? 1 : 0);
  object.set_text("counting_type", tly_counting_type_string(counter->counting_type));
  return object.release();
}

int tly_counter_info_print(const tly_counter_info_t* counter, FILE* stream) {
  if (counter == nullptr || stream == nullptr) {
    return -1;
  }
  return std::fprintf(stream, "| %-40s | %-60.60s |\n", tly::printable(counter->name),
                      tly::printable(counter->description));
}

tly_counter_info_t* tly_counter_info_from_json(const JSON_Value* value) {
  tly::CounterTemplates templates;
  return tly::decode_counter(value, templates);
}

tly_counter_info_t* tly::decode_counter(const JSON_Value* value,
                                        CounterTemplates& templates) noexcept {
  if (!templates.counter.matches(value)) {
    return nullptr;
  }
  Owned<tly_counter_info_t, &release_decoded> counter(
      tly::allocate_zeroed<tly_counter_info_t>().release());
  if (counter == nullptr) {
    return nullptr;
  }
  const JSON_Object* object = json_value_get_object(value);
  counter->name = strdup(json_object_get_string(object, "name"));
  counter->description = strdup(json_object_get_string(object, "description"));
  counter->units = strdup(json_object_get_string(object, "units"));
  if (counter->name == nullptr || counter->description == nullptr || counter->units == nullptr) {
    return nullptr;
  }
  counter->data_type = value_of(kDataTypes, json_object_get_string(object, "data_type"));
  counter->offset = word_of(object, "offset");
  counter->length = word_of(object, "length");
  counter->hidden = flag_of(object, "hidden");
  counter->mandatory = flag_of(object, "mandatory");
  counter->counting_type =
      value_of(kCountingTypes, json_object_get_string(object, "counting_type"));
  return counter.release();
}
