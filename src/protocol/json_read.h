// Reading JSON text into Jansson's values.
//
// Jansson's own reader takes every byte through a callback, a UTF-8 check and a growing token
// buffer: about 130 instructions a byte, which made reading the replies a third of a value
// read's instructions. This reader walks the text in place and builds the same values with
// Jansson's constructors, in the same order. It accepts exactly the texts json_loadb accepts
// without flags, and gives the same values for them; the reply fuzz target holds the two to
// that on every input.
#ifndef TAVIO_PROTOCOL_JSON_READ_H
#define TAVIO_PROTOCOL_JSON_READ_H

#include <string_view>

#include "tavio/json_ref.h"

namespace tavio {

/// The document text holds: an object or an array, with only white space after it. Null when
/// the text is not that: not JSON, bytes that are not UTF-8, a \u0000, an integer outside
/// json_int_t, a real too large for a double, or more than 2048 levels.
[[nodiscard]] JsonPtr json_read(std::string_view text);

}  // namespace tavio

#endif
