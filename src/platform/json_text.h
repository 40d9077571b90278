// Documents written out as compact JSON text, the way responses reach the display.
#ifndef TAVIO_PLATFORM_JSON_TEXT_H
#define TAVIO_PLATFORM_JSON_TEXT_H

#include <jansson.h>

#include <optional>
#include <string>

namespace tavio {

/// document as compact JSON: no white space, members in the order they were set, strings as
/// they are but for the escapes JSON requires (quote, backslash, control characters); the
/// same text Jansson's JSON_COMPACT gives. Nothing for a null document or one that is not an
/// object or an array.
[[nodiscard]] std::optional<std::string> json_compact_text(const json_t* document);

}  // namespace tavio

#endif
