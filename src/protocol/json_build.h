// Building the objects of tavio's documents member by member, in order.
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

/// An object whose members are set in the order given (the order the display receives them
/// in). Like json_pack it gives nothing as a whole when any member cannot be made (a null
/// text or value); texts are made by json_text_string, so their letters never fail them.
/// Menus are built of thousands of members, and json_pack reads its format string again for
/// each one.
class JsonObjectBuilder {
 public:
  JsonObjectBuilder() : object_(json_own(json_object())) {}

  JsonObjectBuilder& text(const char* key, const char* value) {
    return take(key, value == nullptr ? nullptr : json_text_string(value));
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
