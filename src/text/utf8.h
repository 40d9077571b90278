// Texts as characters.
//
// The panel is a grid of characters and the router's texts are UTF-8 (operator, network and
// device names come in every language), so layout and cuts step through a text one character
// at a time, never one byte. Bytes that are not UTF-8 (a name saved in another encoding) are
// stepped over the way the display will show them: each maximal invalid subpart (the longest
// beginning of a well-formed sequence, else a single byte) is one character, which becomes
// one U+FFFD when the text is handed to the display. Counting and cutting never change a
// byte; only utf8_repaired does.
#ifndef TAVIO_TEXT_UTF8_H
#define TAVIO_TEXT_UTF8_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tavio {

/// The replacement character U+FFFD, as UTF-8.
constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

/// The first characters of a text: their bytes and how many they are.
struct Utf8Prefix {
  std::size_t size;
  std::size_t length;
};

/// The first count characters of text, or all of it when it holds fewer.
[[nodiscard]] Utf8Prefix utf8_prefix(std::string_view text, std::size_t count);
/// The number of characters in text.
[[nodiscard]] std::size_t utf8_length(std::string_view text);
/// Whether text is well-formed UTF-8 throughout.
[[nodiscard]] bool utf8_well_formed(std::string_view text);
/// text with each maximal invalid subpart replaced by U+FFFD; the same character count.
[[nodiscard]] std::string utf8_repaired(std::string_view text);

}  // namespace tavio

#endif
