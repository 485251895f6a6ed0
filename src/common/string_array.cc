#include "tallyra/string_array.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/log.h"
#include "common/owned.h"
#include "tallyra/string_utils.h"

namespace {

using OwnedFile = tly::Owned<FILE, &std::fclose>;

uint64_t count_of(const tly_string_array_t* array) { return array != nullptr ? array->count : 0; }

// Resizes a block, or makes one from null, to hold `count` pointers. Null when the size overflows
// or memory runs out; the old block is then untouched. The count field is the caller's to set.
tly_string_array_t* resize_block(tly_string_array_t* array, uint64_t count) {
  constexpr uint64_t kMaximum = (SIZE_MAX - sizeof(tly_string_array_t)) / sizeof(char*);
  if (count > kMaximum) {
    return nullptr;
  }
  return static_cast<tly_string_array_t*>(
      std::realloc(array, sizeof(tly_string_array_t) + count * sizeof(char*)));
}

// Appends a copy of at most `length` characters.
bool append_characters(tly_string_array_t** array, const char* characters, size_t length) {
  const uint64_t count = count_of(*array);
  tly_string_array_t* const grown = resize_block(*array, count + 1);
  if (grown == nullptr) {
    return false;
  }
  grown->count = count;
  *array = grown;
  char* const copy = strndup(characters, length);
  if (copy == nullptr) {
    return false;
  }
  grown->strings[grown->count++] = copy;
  return true;
}

}  // namespace

tly_string_array_t* tly_init_string_array(void) {
  return tly::allocate_zeroed<tly_string_array_t>().release();
}

bool tly_append_string_array(tly_string_array_t** array, const char* string) {
  return array != nullptr && string != nullptr &&
         append_characters(array, string, std::strlen(string));
}

void tly_free_string_array(tly_string_array_t* array) {
  for (uint64_t i = 0; i < count_of(array); ++i) {
    std::free(array->strings[i]);
  }
  std::free(array);
}

void tly_log_string_array(int level, const tly_string_array_t* array, const char* label) {
  for (size_t i = 0; i < count_of(array); ++i) {
    TLY_LOG(level, "%s[%zu] = %s", label != nullptr ? label : "", i, array->strings[i]);
  }
}

bool tly_string_array_join(tly_string_array_t** destination, const tly_string_array_t* source) {
  if (destination == nullptr || source == nullptr) {
    return false;
  }
  const uint64_t kept = count_of(*destination);
  const uint64_t added = source->count;
  const bool doubles_itself = source == *destination;
  if (added > UINT64_MAX - kept) {
    return false;
  }
  tly_string_array_t* const joined = resize_block(*destination, kept + added);
  if (joined == nullptr) {
    return false;
  }
  if (doubles_itself) {
    source = joined;
  }
  *destination = joined;
  joined->count = kept;
  for (uint64_t i = 0; i < added; ++i) {
    char* const copy = strdup(source->strings[i]);
    if (copy == nullptr) {
      tly_free_string_array(joined);
      *destination = nullptr;
      return false;
    }
    joined->strings[joined->count++] = copy;
  }
  return true;
}

tly_string_array_t* tly_string_array_from_comma_separated_string(const char* characters,
                                                                 size_t length) {
  tly_string_array_t* array = tly_init_string_array();
  if (array == nullptr) {
    TLY_LOG_ERROR("Unable to create string array");
    return nullptr;
  }
  size_t start = 0;
  for (size_t i = 0; characters != nullptr && i <= length; ++i) {
    if (i < length && characters[i] != ',') {
      continue;
    }
    // A token ends at a NUL, too, and may be empty for that.
    const size_t token_length = strnlen(characters + start, i - start);
    if (token_length > 0 && !append_characters(&array, characters + start, token_length)) {
      TLY_LOG_ERROR("Unable to append string");
      tly_free_string_array(array);
      return nullptr;
    }
    start = i + 1;
  }
  return array;
}

bool tly_string_array_remove_duplicates(tly_string_array_t** array_ptr, bool sorted) {
  tly_string_array_t* const array = array_ptr != nullptr ? *array_ptr : nullptr;
  if (count_of(array) < 2) {
    return true;
  }
  if (!sorted) {
    TLY_LOG_ERROR("[%s] not implemented", "tly_string_array_remove_duplicates");
    return false;
  }
  uint64_t kept = 1;
  for (uint64_t i = 1; i < array->count; ++i) {
    if (std::strcmp(array->strings[i], array->strings[kept - 1]) == 0) {
      std::free(array->strings[i]);
    } else {
      array->strings[kept++] = array->strings[i];
    }
  }
  if (kept == array->count) {
    return true;
  }
  array->count = kept;
  tly_string_array_t* const shrunk = resize_block(array, kept);
  if (shrunk == nullptr) {
    return false;
  }
  *array_ptr = shrunk;
  return true;
}

bool tly_string_array_contains(const tly_string_array_t* array, const char* string) {
  for (uint64_t i = 0; string != nullptr && i < count_of(array); ++i) {
    if (std::strcmp(array->strings[i], string) == 0) {
      return true;
    }
  }
  return false;
}

bool tly_string_array_append_file_lines(tly_string_array_t** array, const char* path,
                                        const char* label) {
  if (array == nullptr || path == nullptr) {
    return false;
  }
  const OwnedFile file(std::fopen(path, "re"));
  if (file == nullptr) {
    TLY_LOG_INFO("Failed to open %s file %s: %s", label != nullptr ? label : "", path,
                 std::strerror(errno));
    return false;
  }
  if (label != nullptr) {
    TLY_LOG_INFO("Loading %s from %s", label, path);
  }
  char* buffer = nullptr;
  size_t capacity = 0;
  bool all_appended = true;
  while (all_appended && getline(&buffer, &capacity, file.get()) >= 0) {
    const char* const line = trim_white_space(buffer);
    if (*line != '\0' && *line != '#') {
      all_appended = tly_append_string_array(array, line);
    }
  }
  std::free(buffer);
  // Lines that could not be read are a failure as lines that could not be appended are.
  return all_appended && std::feof(file.get()) != 0;
}
