// Building JSON objects and arrays so that a failure on the way releases everything built so far.
#pragma once

#include <cerrno>
#include <cmath>
#include <cstddef>

#include "encoding/json_ptr.h"

namespace tly {

// An object that is filled in member order. What JSON cannot hold is left out; running out of
// memory makes the whole object fail.
class JsonObjectBuilder {
 public:
  JsonObjectBuilder() noexcept : value_(json_value_init_object()) {}

  bool failed() const noexcept { return value_ == nullptr; }

  // Left out: a null text or key, and text that is not UTF-8.
  void set_text(const char* key, const char* text) noexcept {
    if (failed() || key == nullptr || text == nullptr) {
      return;
    }
    errno = 0;
    if (json_object_set_string(object(), key, text) != JSONSuccess && errno == ENOMEM) {
      value_.reset();
    }
  }

  // A null text, and text that is not UTF-8, make the object fail.
  void set_required_text(const char* key, const char* text) noexcept {
    if (!failed() && json_object_set_string(object(), key, text) != JSONSuccess) {
      value_.reset();
    }
  }

  // Left out: a null key, infinities, and NaN.
  void set_number(const char* key, double number) noexcept {
    if (!failed() && key != nullptr && std::isfinite(number) &&
        json_object_set_number(object(), key, number) != JSONSuccess) {
      value_.reset();
    }
  }

  void set_boolean(const char* key, bool flag) noexcept {
    if (!failed() && json_object_set_boolean(object(), key, flag ? 1 : 0) != JSONSuccess) {
      value_.reset();
    }
  }

  // A null member makes the object fail.
  void set_value(const char* key, JsonPtr member) noexcept {
    if (failed()) {
      return;
    }
    if (member == nullptr || json_object_set_value(object(), key, member.get()) != JSONSuccess) {
      value_.reset();
      return;
    }
    static_cast<void>(member.release());
  }

  // The object, now the caller's; null when it failed.
  JSON_Value* release() noexcept { return value_.release(); }

 private:
  JSON_Object* object() const noexcept { return json_value_get_object(value_.get()); }

  JsonPtr value_;
};

// An array of what make_element(index) returns, in order; null when one of them is null.
template <typename MakeElement>
JsonPtr make_json_array(std::size_t count, MakeElement make_element) noexcept {
  JsonPtr array(json_value_init_array());
  if (array == nullptr) {
    return nullptr;
  }
  JSON_Array* elements = json_value_get_array(array.get());
  for (std::size_t index = 0; index < count; ++index) {
    JsonPtr element(make_element(index));
    if (element == nullptr || json_array_append_value(elements, element.get()) != JSONSuccess) {
      return nullptr;
    }
    static_cast<void>(element.release());
  }
  return array;
}

}  // namespace tly
