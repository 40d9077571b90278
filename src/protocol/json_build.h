// Building tavio's documents: objects member by member, arrays element by element, in the
// order the display receives them. Every menu, answer and dump builds its JSON here.
//
// Ownership: a builder owns what it builds. A child is handed over as a JsonPtr and belongs to
// the builder from then on, whether it is added or not; done() hands the value back as a new
// reference and leaves the builder empty.
//
// Failure: a builder gives null as a whole when anything it was asked to hold could not be
// held: a member without a value (a null text or child), or a value that memory would not
// take. The one exception is an array's null element, which is left out: a list holds the
// items that exist, and menus add items that may have nothing to show. A null child is
// therefore left out of an array and fails an object, all the way up to the document, which
// is then not written: the display copes with an item or an entry fewer (it sees that whenever
// a router value is missing), never with one that lacks a member.
#ifndef TAVIO_PROTOCOL_JSON_BUILD_H
#define TAVIO_PROTOCOL_JSON_BUILD_H

#include <jansson.h>

#include <string>
#include <string_view>
#include <utility>

#include "tavio/json_ref.h"
#include "text/utf8.h"

namespace tavio {

/// A new JSON string holding text. Every text tavio hands the display passes here: bytes that
/// are not UTF-8 (a name the router saved in another encoding) become U+FFFD, one for each
/// character layout counted, so no text is refused or dropped for the characters it holds.
/// Null only when memory runs out.
[[nodiscard]] inline JsonPtr json_text_string(std::string_view text) {
  if (utf8_well_formed(text)) {
    return json_own(json_stringn_nocheck(text.data(), text.size()));
  }
  const std::string repaired = utf8_repaired(text);
  return json_own(json_stringn_nocheck(repaired.data(), repaired.size()));
}

/// An object whose members are set in the order given; null as a whole when a member has no
/// value or cannot be set. Keys are tavio's own and taken as they are.
class JsonObjectBuilder {
 public:
  JsonObjectBuilder() : object_(json_own(json_object())) {}

  /// Sets key to text (made by json_text_string); a null text fails the object.
  JsonObjectBuilder& text(const char* key, const char* value) {
    return take(key, value == nullptr ? nullptr : json_text_string(value));
  }
  JsonObjectBuilder& text(const char* key, const std::string& value) {
    return take(key, json_text_string(value));
  }
  JsonObjectBuilder& integer(const char* key, json_int_t value) {
    return take(key, json_own(json_integer(value)));
  }
  /// Sets key to value, taking it over; a null value fails the object.
  JsonObjectBuilder& take(const char* key, JsonPtr value) {
    if (!value || !object_ ||
        json_object_set_new_nocheck(object_.get(), key, value.release()) != 0) {
      object_.reset();
    }
    return *this;
  }
  /// The object; null when it failed.
  [[nodiscard]] JsonPtr done() { return std::move(object_); }

 private:
  JsonPtr object_;
};

/// An array of the elements added, in order; a null element is left out. Null as a whole only
/// when an element that exists cannot be added.
class JsonArrayBuilder {
 public:
  JsonArrayBuilder() : array_(json_own(json_array())) {}

  /// Appends element, taking it over; a null element is left out.
  JsonArrayBuilder& add(JsonPtr element) {
    if (element && array_ && json_array_append_new(array_.get(), element.release()) != 0) {
      array_.reset();
    }
    return *this;
  }
  /// Appends text (made by json_text_string).
  JsonArrayBuilder& text(std::string_view value) {
    JsonPtr string = json_text_string(value);
    if (!string) {
      array_.reset();
    }
    return add(std::move(string));
  }
  /// The array; null when it failed.
  [[nodiscard]] JsonPtr done() { return std::move(array_); }

 private:
  JsonPtr array_;
};

}  // namespace tavio

#endif
