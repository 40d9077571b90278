// Loading the router's reply documents, and reading named members of request and reply
// documents with defaults. None of the readers fails.
#ifndef TAVIO_PROTOCOL_JSON_GET_H
#define TAVIO_PROTOCOL_JSON_GET_H

#include <jansson.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "tavio/json_ref.h"

namespace tavio {

/// A reply of the router's API or device tool as a document; null when it is not JSON. Bytes
/// that are not UTF-8 become U+FFFD first: JSON refuses them, and one name saved in another
/// encoding would otherwise cost every value the reply holds.
[[nodiscard]] JsonPtr json_load_reply(std::string_view text);

/// The text of object[key] when it is a JSON string, else def. Borrowed from the document.
[[nodiscard]] const char* jget_string(const json_t* object, const char* key, const char* def);
/// object[key] as an integer cut to its low 32 bits; def when missing; 0 for a non-integer.
[[nodiscard]] std::int32_t jget_int(const json_t* object, const char* key, std::int32_t def);
/// object[key] as a real; def when missing; 0.0 for a non-real (an integer too).
[[nodiscard]] double jget_real(const json_t* object, const char* key, double def);

/// One entry of an API section's "order": its id and the section's member of that id
/// (borrowed; null where the section lacks it).
struct OrderedMember {
  int id;
  const json_t* member;
};
/// The members of an API section in the order its "order" array lists them (the API keys its
/// lists by id and orders them apart), the first most of them; nothing when the section has
/// no "order" array.
[[nodiscard]] std::optional<std::vector<OrderedMember>> ordered_members(const json_t* section,
                                                                        std::size_t most);

}  // namespace tavio

#endif
