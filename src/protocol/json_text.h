// Documents written out as compact JSON text, the way responses reach the display.
#ifndef TAVIO_PROTOCOL_JSON_TEXT_H
#define TAVIO_PROTOCOL_JSON_TEXT_H

#include <jansson.h>

#include <cstddef>
#include <optional>
#include <string>

namespace tavio {

/// The largest response or menu update written. The display reads a response whole; the
/// largest menu of the example router takes 8 kilobytes, and with every list a device or the
/// API reports held to its bound a response stays far below this. A document past it is not
/// written: the run reports that it could not write the response.
constexpr std::size_t kMaxResponseBytes = std::size_t{1024} * 1024;

/// Whether text may be written as a response: at most kMaxResponseBytes.
[[nodiscard]] inline bool response_size_allowed(const std::string& text) {
  return text.size() <= kMaxResponseBytes;
}

/// document as compact JSON: no white space, members in the order they were set, strings as
/// they are but for the escapes JSON requires (quote, backslash, control characters; "/" and
/// characters beyond ASCII unescaped), byte for byte what Jansson's JSON_COMPACT writer gives
/// (the request fuzz target compares the two on every document it makes). Nothing for a null
/// document or one that is not an object or an array.
///
/// tavio's own writer rather than Jansson's, for speed: measured on the static http build of
/// the example router (2,000 alternating pairs, twice), Jansson's writer costs 2.1-2.5% more
/// processor time of a home-menu exchange (24-25% more of tavio's own instructions; the home
/// menu written in 86 instead of 30 microseconds) and 1.2-1.7% more of the 19-row value read.
[[nodiscard]] std::optional<std::string> json_compact_text(const json_t* document);

}  // namespace tavio

#endif
