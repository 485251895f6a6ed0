#include "tallyra/dictionary.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "common/dictionary_table.h"
#include "common/log.h"
#include "common/owned.h"
#include "common/printable.h"

namespace {

using tly::DictionaryTable;
using tly::OwnedHeap;
using tly::OwnedString;

constexpr double kMaximumLoad = 0.77;
constexpr uint32_t kMinimumBuckets = 4;
constexpr uint32_t kBucketsPerWord = 16;
constexpr uint32_t kNoBucket = std::numeric_limits<uint32_t>::max();

enum BucketState : uint32_t { kLive = 0, kDeleted = 1, kEmpty = 2 };
constexpr uint32_t kStateMask = 3;
constexpr int kEveryBucketEmpty = 0xAA;

uint32_t state_shift(uint32_t bucket) { return bucket % kBucketsPerWord * 2; }

uint32_t state_of(const uint32_t* flags, uint32_t bucket) {
  return flags[bucket / kBucketsPerWord] >> state_shift(bucket) & kStateMask;
}

void mark_live(uint32_t* flags, uint32_t bucket) {
  flags[bucket / kBucketsPerWord] &= ~(kStateMask << state_shift(bucket));
}

void mark_deleted(uint32_t* flags, uint32_t bucket) {
  flags[bucket / kBucketsPerWord] |= static_cast<uint32_t>(kDeleted) << state_shift(bucket);
}

// Bytes count as unsigned, so that every machine gives a key the same bucket.
uint32_t hash_of(const char* key) {
  const auto* byte = reinterpret_cast<const unsigned char*>(key);
  uint32_t hash = *byte;
  if (hash != 0) {
    while (*++byte != 0) {
      hash = hash * 31 + *byte;
    }
  }
  return hash;
}

uint32_t upper_bound_of(uint32_t buckets) {
  return static_cast<uint32_t>(std::lround(buckets * kMaximumLoad));
}

struct SearchResult {
  bool key_was_found;
  uint32_t bucket;    // holds the key or is empty; kNoBucket after a full circle
  uint32_t reusable;  // the last deleted bucket passed, or kNoBucket
};

// The table must have buckets.
inline SearchResult search(const DictionaryTable& table, const char* key) {
  const uint32_t mask = table.n_buckets - 1;
  const uint32_t start = hash_of(key) & mask;
  uint32_t bucket = start;
  uint32_t reusable = kNoBucket;
  for (uint32_t step = 1;; ++step) {
    const uint32_t state = state_of(table.flags, bucket);
    if (state == kLive) {
      if (std::strcmp(table.keys[bucket], key) == 0) {
        return {true, bucket, reusable};
      }
    } else if (state == kDeleted) {
      reusable = bucket;
    } else {
      return {false, bucket, reusable};
    }
    bucket = (bucket + step) & mask;
    if (bucket == start) {
      return {false, kNoBucket, reusable};
    }
  }
}

uint32_t first_empty_bucket(const uint32_t* flags, uint32_t buckets, const char* key) {
  const uint32_t mask = buckets - 1;
  uint32_t bucket = hash_of(key) & mask;
  for (uint32_t step = 1; state_of(flags, bucket) != kEmpty; ++step) {
    bucket = (bucket + step) & mask;
  }
  return bucket;
}

// Moves every live entry to its place among `new_buckets`, within arrays that are large enough for
// the old and the new table. An entry that still waits in the place of another is carried on.
void rehash(DictionaryTable& table, uint32_t* new_flags, uint32_t new_buckets) {
  for (uint32_t from = 0; from < table.n_buckets; ++from) {
    if (state_of(table.flags, from) != kLive) {
      continue;
    }
    mark_deleted(table.flags, from);
    char* key = table.keys[from];
    char* value = table.vals[from];
    for (bool is_carrying = true; is_carrying;) {
      const uint32_t to = first_empty_bucket(new_flags, new_buckets, key);
      mark_live(new_flags, to);
      is_carrying = to < table.n_buckets && state_of(table.flags, to) == kLive;
      if (is_carrying) {
        mark_deleted(table.flags, to);
        std::swap(key, table.keys[to]);
        std::swap(value, table.vals[to]);
      } else {
        table.keys[to] = key;
        table.vals[to] = value;
      }
    }
  }
}

// Leaves the array as it is when memory runs out.
bool reallocate(char**& array, uint32_t count) {
  void* const resized = std::realloc(array, count * sizeof *array);
  if (resized == nullptr) {
    return false;
  }
  array = static_cast<char**>(resized);
  return true;
}

OwnedHeap<uint32_t> allocate_flags(uint32_t buckets) {
  const size_t bytes = std::max(buckets / kBucketsPerWord, uint32_t{1}) * sizeof(uint32_t);
  OwnedHeap<uint32_t> flags(static_cast<uint32_t*>(std::malloc(bytes)));
  if (flags) {
    std::memset(flags.get(), kEveryBucketEmpty, bytes);
  }
  return flags;
}

// Brings the table to the power of two that holds `requested` buckets, never fewer than it has, and
// clears deleted buckets. False, with no entry touched, when memory runs out or the count does not
// fit 32 bits.
bool resize(DictionaryTable& table, uint64_t requested) {
  const uint64_t rounded = std::bit_ceil(std::max<uint64_t>(requested, kMinimumBuckets));
  if (rounded > std::numeric_limits<uint32_t>::max()) {
    return false;
  }
  const auto buckets = static_cast<uint32_t>(rounded);
  OwnedHeap<uint32_t> flags = allocate_flags(buckets);
  if (!flags) {
    return false;
  }
  if (buckets > table.n_buckets &&
      !(reallocate(table.keys, buckets) && reallocate(table.vals, buckets))) {
    return false;
  }
  rehash(table, flags.get(), buckets);
  std::free(table.flags);
  table.flags = flags.release();
  table.n_buckets = buckets;
  table.n_occupied = table.size;
  table.upper_bound = upper_bound_of(buckets);
  return true;
}

// Room for one more entry: many deleted buckets are cleared, else the table doubles.
bool make_room(DictionaryTable& table) {
  if (table.n_occupied < table.upper_bound) {
    return true;
  }
  const uint64_t buckets = table.n_buckets;
  return resize(table, buckets > 2 * uint64_t{table.size} ? buckets - 1 : buckets + 1);
}

bool log_entry(const char* key, const char* value, void*) {
  TLY_LOG_DEBUG("key=%s  val=%s", key, tly::printable(value));
  return true;
}

bool add_entry(const char* key, const char* value, void* dict) {
  return tly_dict_add(static_cast<tly_dict_t*>(dict), key, value);
}

}  // namespace

tly_dict_t* tly_dict_create(void) {
  OwnedHeap<tly_dict_t> dict = tly::allocate_zeroed<tly_dict_t>();
  if (!dict) {
    return nullptr;
  }
  dict->table = tly::allocate_zeroed<DictionaryTable>().release();
  return dict->table != nullptr ? dict.release() : nullptr;
}

bool tly_dict_add(tly_dict_t* dict, const char* key, const char* value) {
  if (dict == nullptr || key == nullptr) {
    return false;
  }
  OwnedString key_copy(strdup(key));
  OwnedString value_copy(value != nullptr ? strdup(value) : nullptr);
  DictionaryTable& table = *dict->table;
  if (!key_copy || (value != nullptr && !value_copy) || !make_room(table)) {
    return false;
  }
  const SearchResult found = search(table, key);
  if (found.key_was_found) {
    std::free(std::exchange(table.vals[found.bucket], value_copy.release()));
    return true;
  }
  uint32_t target = found.reusable;
  if (target == kNoBucket) {
    target = found.bucket;
    ++table.n_occupied;
  }
  table.keys[target] = key_copy.release();
  table.vals[target] = value_copy.release();
  mark_live(table.flags, target);
  ++table.size;
  return true;
}

const char* tly_dict_get(const tly_dict_t* dict, const char* key) {
  if (dict == nullptr || key == nullptr || dict->table->n_buckets == 0) {
    return nullptr;
  }
  const SearchResult found = search(*dict->table, key);
  return found.key_was_found ? dict->table->vals[found.bucket] : nullptr;
}

bool tly_dict_enum(const tly_dict_t* dict, tly_dict_callback_t callback, void* user) {
  if (dict == nullptr) {
    return true;
  }
  const DictionaryTable& table = *dict->table;
  for (uint32_t bucket = 0; bucket < table.n_buckets; ++bucket) {
    if (state_of(table.flags, bucket) == kLive &&
        !callback(table.keys[bucket], table.vals[bucket], user)) {
      return false;
    }
  }
  return true;
}

void tly_dict_dump(const tly_dict_t* dict, const char* label) {
  if (dict == nullptr) {
    return;
  }
  TLY_LOG_DEBUG("%s map values: ", tly::printable(label));
  tly_dict_enum(dict, &log_entry, nullptr);
}

tly_dict_t* tly_dict_dup(const tly_dict_t* dict) {
  if (dict == nullptr) {
    return nullptr;
  }
  tly::Owned<tly_dict_t, &tly_dict_delete> copy(tly_dict_create());
  if (!copy || !tly_dict_enum(dict, &add_entry, copy.get())) {
    return nullptr;
  }
  return copy.release();
}

void tly_dict_delete(tly_dict_t* dict) {
  if (dict == nullptr) {
    return;
  }
  DictionaryTable& table = *dict->table;
  for (uint32_t bucket = 0; bucket < table.n_buckets; ++bucket) {
    if (state_of(table.flags, bucket) == kLive) {
      std::free(table.keys[bucket]);
      std::free(table.vals[bucket]);
    }
  }
  std::free(table.keys);
  std::free(table.flags);
  std::free(table.vals);
  std::free(dict->table);
  std::free(dict);
}
