#include "text/utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace tavio {
namespace {

// Most of what tavio lays out is ASCII: one test per byte, no call.
inline bool is_ascii(char c) { return static_cast<unsigned char>(c) < 0x80; }

// How many bytes at the start of text are ASCII. Replies and menus are mostly ASCII, so eight
// bytes are tested in one step while they last.
std::size_t ascii_run(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  std::size_t at = 0;
  for (std::uint64_t eight = 0; at + sizeof eight <= text.size(); at += sizeof eight) {
    std::memcpy(&eight, text.data() + at, sizeof eight);
    if ((eight & kHighBits) != 0) {
      break;
    }
  }
  while (at < text.size() && is_ascii(text[at])) {
    ++at;
  }
  return at;
}

// One character of a text: its bytes and whether they are well-formed UTF-8.
struct Utf8Char {
  std::size_t size;
  bool well_formed;
};

// The well-formed sequences, by their first byte: how many bytes follow it and the range of
// the second byte (later ones are always 80..BF). The narrow second-byte ranges keep out
// overlong forms (E0, F0), surrogates (ED) and code points above U+10FFFF (F4). C0, C1 and
// F5..FF never start a character. The character at text[at], a byte 80..FF: 2 to 4 bytes when
// well-formed, else the maximal invalid subpart there (1 to 3 bytes).
Utf8Char multibyte_char_at(std::string_view text, std::size_t at) {
  const auto lead = static_cast<unsigned char>(text[at]);
  std::size_t following = 0;
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    following = 1;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    following = 2;
    low = lead == 0xE0 ? 0xA0 : 0x80;
    high = lead == 0xED ? 0x9F : 0xBF;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    following = 3;
    low = lead == 0xF0 ? 0x90 : 0x80;
    high = lead == 0xF4 ? 0x8F : 0xBF;
  } else {
    return {1, false};
  }
  for (std::size_t n = 1; n <= following; ++n) {
    if (at + n >= text.size()) {
      return {n, false};
    }
    const auto next = static_cast<unsigned char>(text[at + n]);
    if (next < low || next > high) {
      return {n, false};  // the bytes so far are the maximal subpart; next starts afresh
    }
    low = 0x80;
    high = 0xBF;
  }
  return {following + 1, true};
}

}  // namespace

Utf8Prefix utf8_prefix(std::string_view text, std::size_t count) {
  Utf8Prefix prefix{0, 0};
  while (prefix.length < count && prefix.size < text.size()) {
    // A run of ASCII bytes, each one character, then at most one character of several bytes.
    const std::size_t run = std::min(count - prefix.length, text.size() - prefix.size);
    const std::size_t ascii = ascii_run(text.substr(prefix.size, run));
    prefix.size += ascii;
    prefix.length += ascii;
    if (ascii < run) {
      prefix.size += multibyte_char_at(text, prefix.size).size;
      ++prefix.length;
    }
  }
  return prefix;
}

std::size_t utf8_length(std::string_view text) { return utf8_prefix(text, text.size()).length; }

bool utf8_well_formed(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    at += ascii_run(text.substr(at));
    if (at == text.size()) {
      break;
    }
    const Utf8Char c = multibyte_char_at(text, at);
    if (!c.well_formed) {
      return false;
    }
    at += c.size;
  }
  return true;
}

std::string utf8_repaired(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const Utf8Char c = is_ascii(text[at]) ? Utf8Char{1, true} : multibyte_char_at(text, at);
    if (c.well_formed) {
      out.append(text.substr(at, c.size));
    } else {
      out.append(kReplacementCharacter);
    }
    at += c.size;
  }
  return out;
}

}  // namespace tavio
