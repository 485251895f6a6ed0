// The hash index of an object: a table of positions, open addressing with linear probing, at most
// three quarters full. A slot holds a member's position plus one, or 0 when it is free. Objects of
// a few members have none and are searched in order.
#pragma once

#include <cstddef>
#include <cstdint>

#include "value.h"

namespace tly::json {

inline constexpr std::size_t kLargestUnindexed = 8;
inline constexpr std::size_t kNotFound = static_cast<std::size_t>(-1);

// Slots that an index over so many members has; 0 when they need none.
std::size_t slots_for(std::size_t member_count) noexcept;

// The position of the member of that name, or kNotFound.
std::size_t find_member(const JSON_Object* object, const char* name) noexcept;

// Enters the first `count` members into the object's empty slots. False when two names are equal,
// which is also found where there is no index.
bool index_members(JSON_Object* object, std::size_t count) noexcept;

// Enters the member at that position, whose name is new, when there is an index.
void index_member(JSON_Object* object, std::size_t position) noexcept;

// Takes the member at that position, which is still in place, out of the index when there is one,
// and moves the later ones down by one.
void unindex_member(JSON_Object* object, std::size_t position) noexcept;

}  // namespace tly::json
