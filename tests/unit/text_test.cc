// Texts for the panel: fixed-capacity buffers cut at capacity - 1 characters (never inside
// one), the cut reported, nothing after it kept; bytes that are not UTF-8 counted and repaired
// as the display sees them; and layout at the edges of the line width (one character short of
// it, exactly it, one over it) for both themes, in ASCII and in characters of two, three and
// four bytes (widths count characters).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "layout/panel_text.h"
#include "support.h"
#include "text/text_buffer.h"
#include "text/utf8.h"

namespace tavio {
namespace {

// Pieces appended one by one, and all of them cut or formatted at once, keep the same text; a
// piece went in whole when the text grew by exactly it.
TEST(TextBuffer, AppendCutAndFormatKeepCapacityMinusOne) {
  const struct {
    std::size_t capacity;
    std::vector<std::string> pieces;
    std::string expected;
  } cases[] = {{8, {"abc", "defg"}, "abcdefg"},
               {8, {"abcde", "fghij"}, "abcdefg"},
               {8, {"abcdefg", "h", ""}, "abcdefg"},
               {1, {"a"}, ""},
               {0, {"a"}, ""},
               {kTextCapacity, {std::string(300, 'p')}, std::string(255, 'p')},
               {1024, {std::string(700, 'y')}, std::string(700, 'y')},  // past the first guess
               {8, {"ééé", "éééé"}, rep(7, "é")},
               {8, {"abcdef", "€€"}, "abcdef€"},
               {4, {rep(4, "𝄞")}, rep(3, "𝄞")},
               // An invalid sequence counts as one character and is never split.
               {4, {"ab\xE2\x82xy"}, "ab\xE2\x82"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.capacity) + " " + c.expected);
    TextBuffer buffer(c.capacity);
    std::string all;
    for (const std::string& piece : c.pieces) {
      const std::string before = buffer.str();
      const bool whole = buffer.append(piece);
      EXPECT_EQ(whole, buffer.str() == before + piece) << piece;
      all += piece;
    }
    EXPECT_EQ(buffer.str(), c.expected);
    EXPECT_EQ(buffer.cut(), all != c.expected);
    EXPECT_EQ(cut_text(all, c.capacity), c.expected);
    EXPECT_EQ(format_text(c.capacity, "%s", all.c_str()), c.expected);
  }
}

// Each maximal invalid subpart becomes one U+FFFD, so a text holds as many characters repaired
// as layout counted in it.
TEST(Utf8Repaired, MaximalInvalidSubpartsBecomeOneReplacementEach) {
  const struct {
    std::string text, repaired;
  } cases[] = {{"Réseau €𝄞", "Réseau €𝄞"},  // well-formed: unchanged
               {"Caf\xE9-i", "Caf\uFFFD-i"},
               {"\xE2\x82Z", "\uFFFDZ"},                          // a sequence cut short
               {"\xF4\x80\x80", "\uFFFD"},                        // cut short at its end
               {"\xC0\x80", "\uFFFD\uFFFD"},                      // overlong form: never a start
               {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},            // a surrogate
               {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},  // above U+10FFFF
               {"\x80\xBF\xFF", "\uFFFD\uFFFD\uFFFD"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(utf8_repaired(c.text), c.repaired);
    EXPECT_EQ(utf8_well_formed(c.text), c.text == c.repaired);
    EXPECT_EQ(utf8_length(c.text), utf8_length(c.repaired));
  }
  // A character that starts at the eighth byte, the last of the first eight tested at once.
  EXPECT_EQ(utf8_length("Network\xC3\xA9"), 8U);
  EXPECT_FALSE(utf8_well_formed("Network\xC3x"));
}

// n distinct-looking characters, so a misplaced cut shows in the failure message.
std::string chars(std::size_t n, char first = 'a') {
  std::string text;
  for (std::size_t i = 0; i < n; ++i) {
    text.push_back(static_cast<char>(first + i % 26));
  }
  return text;
}

std::string sp(std::size_t n) { return std::string(n, ' '); }

TEST(LayoutWrap, BreaksAtWidthValuesAlignRight) {
  const std::string k43 = chars(43);
  const std::string two_lines = chars(21) + "\n" + k43.substr(21, 1);
  const std::string two_full_lines = chars(21) + "\n" + k43.substr(21, 21);  // no break after
  const std::string three_lines = chars(21) + "\n" + k43.substr(21, 21) + "\n" + k43.substr(42);
  const struct {
    std::string text;
    int width;
    std::string wrapped;  // layout_wrap
    std::string value;    // layout_wrap_value
  } cases[] = {{"", 21, "", sp(21)},
               {chars(20), 21, chars(20), " " + chars(20)},
               {chars(21), 21, chars(21), chars(21)},
               {chars(22), 21, two_lines, two_lines},
               {chars(42), 21, two_full_lines, two_full_lines},
               {k43, 21, three_lines, three_lines},
               {"abc", 0, "", ""},
               {"ab", 1, "a\nb", "a\nb"},
               {rep(21, "€"), 21, rep(21, "€"), rep(21, "€")},
               {rep(22, "𝄞"), 21, rep(21, "𝄞") + "\n𝄞", rep(21, "𝄞") + "\n𝄞"},
               {rep(11, "é") + " Net", 21, rep(11, "é") + " Net", sp(6) + rep(11, "é") + " Net"},
               // Bytes that are not UTF-8 count as the U+FFFD each becomes, and stay whole.
               {"Caf\xE9", 5, "Caf\xE9", " Caf\xE9"},
               {"ab\xE2\x82xy", 3, "ab\xE2\x82\nxy", "ab\xE2\x82\nxy"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text + " at width " + std::to_string(c.width));
    EXPECT_EQ(layout_wrap(c.text, c.width), c.wrapped);
    EXPECT_EQ(layout_wrap_value(c.text, c.width), c.value);
  }
}

TEST(LayoutLabelValue, OneLineWhenBothFitElseValueOnItsOwnLine) {
  const std::string label25 = chars(25, 'A');
  const std::string value30 = chars(30);
  const struct {
    int theme;
    int width;
    std::string label;
    std::string value;
    std::string expected;
  } cases[] = {
      {1, 21, chars(14, 'A'), "123456", chars(14, 'A') + " 123456"},  // one short: fills the line
      {1, 21, chars(15, 'A'), "123456", chars(15, 'A') + "\n" + sp(15) + "123456"},  // exact
      {1, 21, chars(16, 'A'), "123456", chars(16, 'A') + "\n" + sp(15) + "123456"},  // one over
      {1, 21, label25, "ok",
       label25.substr(0, 21) + "\n" + label25.substr(21) + "\n" + sp(19) + "ok"},
      {1, 21, "IP", chars(21), "IP\n" + chars(21)},
      {1, 21, chars(10, 'A'), value30,
       chars(10, 'A') + "\n" + value30.substr(0, 21) + "\n" + value30.substr(21)},
      {1, 21, chars(10, 'A'), "", chars(10, 'A') + sp(11)},
      {2, 21, "CPU Load", "7%", "CPU Load 7%"},  // the alternative theme does not pad
      {2, 21, chars(14, 'A'), "123456", chars(14, 'A') + " 123456"},
      {2, 21, chars(15, 'A'), "123456", chars(15, 'A') + "\n" + sp(15) + "123456"},
      {1, 0, "CPU Load", "7%", ""},
      {1, 21, "Opérateur:", rep(11, "€"), "Opérateur:\n" + sp(10) + rep(11, "€")},
      {1, 21, "Opérateur:", rep(12, "𝄞"), "Opérateur:\n" + sp(9) + rep(12, "𝄞")},
      {2, 21, "Opérateur:", rep(10, "é"), "Opérateur: " + rep(10, "é")}};
  for (const auto& c : cases) {
    SCOPED_TRACE("theme " + std::to_string(c.theme) + ": " + c.label + " / " + c.value);
    EXPECT_EQ(layout_label_value(c.label, c.value, grid(c.theme, c.width)), c.expected);
  }
}

TEST(LayoutFinish, PushesShortTextsDownOnlyInAlternativeTheme) {
  const struct {
    int theme;
    int lines;
    std::string text;
    std::size_t capacity;
    std::string expected;
  } cases[] = {{1, 4, "abc", 256, "abc"},
               {2, 4, "a\nb\nc", 256, "\na\nb\nc"},
               {2, 4, "a\nb\nc\nd", 256, "a\nb\nc\nd"},
               {2, 1, "abc", 256, "abc"},
               // A full 255-character buffer still gets its empty top line: capacity + 1 bytes.
               {2, 4, chars(255), 256, "\n" + chars(255)},
               // Only the line breaks within the buffer's capacity are counted.
               {2, 4, "ab\nc\nd\ne", 4, "\nab\n"},
               {2, 4, "é\né\né\né", 4, "\né\né"}};
  for (const auto& c : cases) {
    SCOPED_TRACE("theme " + std::to_string(c.theme) + ", " + std::to_string(c.lines) +
                 " lines: " + c.text);
    EXPECT_EQ(layout_finish(grid(c.theme, 21, c.lines), c.text, c.capacity), c.expected);
  }
}

}  // namespace
}  // namespace tavio
