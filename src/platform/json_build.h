// Building the objects of tavio's documents member by member, in order.
#ifndef TAVIO_PLATFORM_JSON_BUILD_H
#define TAVIO_PLATFORM_JSON_BUILD_H

#include <jansson.h>

#include <utility>

#include "tavio/json_ref.h"

namespace tavio {

/// An object whose members are set in the order given (the order the display receives them
/// in). Like json_pack it gives nothing as a whole when any member cannot be made: a text
/// that is not UTF-8, or a value that is null. Menus are built of thousands of members, and
/// json_pack reads its format string again for each one.
class JsonObjectBuilder {
 public:
  JsonObjectBuilder() : object_(json_own(json_object())) {}

  JsonObjectBuilder& text(const char* key, const char* value) {
    return take(key, json_own(value == nullptr ? nullptr : json_string(value)));
  }
  JsonObjectBuilder& integer(const char* key, json_int_t value) {
    return take(key, json_own(json_integer(value)));
  }
  /// Sets value under key, taking it over.
  JsonObjectBuilder& take(const char* key, JsonPtr value) {
    if (!value || !object_ ||
        json_object_set_new_nocheck(object_.get(), key, value.release()) != 0) {
      object_.reset();
    }
    return *this;
  }
  /// The object; null when any member failed.
  [[nodiscard]] JsonPtr done() { return std::move(object_); }

 private:
  JsonPtr object_;
};

}  // namespace tavio

#endif
