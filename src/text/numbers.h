// Integers as the router reads them (its long is 32 bits wide), and hexadecimal digits.
#ifndef TAVIO_TEXT_NUMBERS_H
#define TAVIO_TEXT_NUMBERS_H

#include <climits>
#include <optional>

namespace tavio {

/// A number read with strtol, limited as a 32-bit strtol limits it.
[[nodiscard]] inline int clamp_to_int(long long value) {
  return value > INT_MAX ? INT_MAX : (value < INT_MIN ? INT_MIN : static_cast<int>(value));
}

/// The value of a hexadecimal digit, either case; -1 for any other byte.
[[nodiscard]] inline int hex_digit_value(char c) {
  if (c >= '0' && c <= '9') {
    return c - '0';
  }
  if (c >= 'a' && c <= 'f') {
    return c - 'a' + 10;
  }
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

/// The number at the start of text, read like sscanf(text, "%d"): blanks, a sign and at
/// least one digit; the digits stop at anything else. Out-of-range numbers are limited to
/// 32 bits as on the router. Nothing when no digit follows.
[[nodiscard]] std::optional<int> scan_int(const char* text);

}  // namespace tavio

#endif
