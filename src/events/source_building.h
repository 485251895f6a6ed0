// What makers of source arrays share.
#pragma once

#include <string_view>

#include "common/owned.h"
#include "tallyra/sources.h"

namespace tly {

using SourcePtr = Owned<tly_source_t, &tly_destroy_source>;
using SourceArrayPtr = Owned<tly_source_array_t, &tly_destroy_source_array>;

// A source id with its NUL.
using SourceId = char[TLY_SOURCE_ID_SIZE];

// Null when memory runs out. Texts are cut to fit.
SourcePtr make_source(std::string_view id, std::string_view tag = {}) noexcept;

// Appends a new source; false when the array is full or memory runs out.
bool append_new_source(tly_source_array_t* array, std::string_view id) noexcept;

// The id that names this machine's sources: TLY_SOURCE_ID, else the host name, cut to fit. False,
// with an error message, when the host name cannot be had.
bool read_default_source_id(SourceId& id) noexcept;

}  // namespace tly
