#include "name_index.h"

#include <sys/random.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace tly::json {
namespace {

constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;

template <typename Word>
std::uint64_t load(const char* bytes) noexcept {
  Word word;
  std::memcpy(&word, bytes, sizeof(word));
  return word;
}

__extension__ using Product = unsigned __int128;

// The high half of the product carries the word's last bytes down into the bits that choose a slot:
// names that differ only there, in a number at their end, must not meet.
std::uint64_t mix(std::uint64_t hash, std::uint64_t word) noexcept {
  const Product product = static_cast<Product>(hash ^ word) * kMultiplier;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

// Random for each process, so that nobody can choose names that collide. Where the kernel has no
// random bytes, or none yet, the seed is a constant.
std::uint64_t process_seed() noexcept {
  std::uint64_t seed = 0;
  const bool is_random =
      getrandom(&seed, sizeof(seed), GRND_NONBLOCK) == static_cast<ssize_t>(sizeof(seed));
  return is_random ? seed : kMultiplier;
}

// Whole words first; the rest is read with words that overlap what was read before.
std::uint64_t hash_of(const char* name) noexcept {
  const std::size_t length = std::strlen(name);
  static const std::uint64_t seed = process_seed();
  std::uint64_t hash = seed + length;
  if (length >= 8) {
    for (std::size_t done = 0; done + 8 < length; done += 8) {
      hash = mix(hash, load<std::uint64_t>(name + done));
    }
    return mix(hash, load<std::uint64_t>(name + length - 8));
  }
  if (length >= 4) {
    return mix(hash, load<std::uint32_t>(name) << 32 | load<std::uint32_t>(name + length - 4));
  }
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < length; ++i) word = word << 8 | static_cast<unsigned char>(name[i]);
  return mix(hash, word);
}

std::size_t home_slot(const JSON_Object* object, const char* name) noexcept {
  return hash_of(name) & (object->slot_count - 1);
}

std::size_t next_slot(const JSON_Object* object, std::size_t slot) noexcept {
  return (slot + 1) & (object->slot_count - 1);
}

const char* name_in_slot(const JSON_Object* object, std::size_t slot) noexcept {
  return object->members[object->slots[slot] - 1].name;
}

// The slot that holds the name, or the free one where it belongs.
std::size_t slot_for(const JSON_Object* object, const char* name) noexcept {
  std::size_t slot = home_slot(object, name);
  while (object->slots[slot] != 0 && std::strcmp(name_in_slot(object, slot), name) != 0) {
    slot = next_slot(object, slot);
  }
  return slot;
}

std::size_t search_in_order(const JSON_Object* object, const char* name,
                            std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    if (std::strcmp(object->members[i].name, name) == 0) return i;
  }
  return kNotFound;
}

// Frees a slot and moves back what was displaced by it, so that no search meets a gap.
void vacate(JSON_Object* object, std::size_t vacant) noexcept {
  const std::size_t mask = object->slot_count - 1;
  for (std::size_t slot = next_slot(object, vacant); object->slots[slot] != 0;
       slot = next_slot(object, slot)) {
    const std::size_t home = home_slot(object, name_in_slot(object, slot));
    const std::size_t distance_from_home = (slot - home) & mask;
    const std::size_t distance_from_vacant = (slot - vacant) & mask;
    if (distance_from_home >= distance_from_vacant) {
      object->slots[vacant] = object->slots[slot];
      vacant = slot;
    }
  }
  object->slots[vacant] = 0;
}

}  // namespace

std::size_t slots_for(std::size_t member_count) noexcept {
  if (member_count <= kLargestUnindexed) return 0;
  constexpr std::size_t kMostSlots = std::size_t{1} << 31;  // their number fits 32 bits
  return std::min(std::bit_ceil(member_count + (member_count + 2) / 3), kMostSlots);
}

std::size_t find_member(const JSON_Object* object, const char* name) noexcept {
  if (object->slot_count == 0) return search_in_order(object, name, object->size);
  const std::uint32_t entry = object->slots[slot_for(object, name)];
  return entry == 0 ? kNotFound : entry - 1;
}

bool index_members(JSON_Object* object, std::size_t count) noexcept {
  for (std::size_t i = 0; i < count; ++i) {
    const char* name = object->members[i].name;
    if (object->slot_count == 0) {
      if (search_in_order(object, name, i) != kNotFound) return false;
      continue;
    }
    std::uint32_t& entry = object->slots[slot_for(object, name)];
    if (entry != 0) return false;
    entry = static_cast<std::uint32_t>(i + 1);
  }
  return true;
}

void index_member(JSON_Object* object, std::size_t position) noexcept {
  if (object->slot_count == 0) return;
  const std::size_t slot = slot_for(object, object->members[position].name);
  object->slots[slot] = static_cast<std::uint32_t>(position + 1);
}

void unindex_member(JSON_Object* object, std::size_t position) noexcept {
  if (object->slot_count == 0) return;
  vacate(object, slot_for(object, object->members[position].name));
  if (position + 1 == object->size) return;
  for (std::size_t slot = 0; slot < object->slot_count; ++slot) {
    if (object->slots[slot] > position + 1) --object->slots[slot];
  }
}

}  // namespace tly::json
