// Fixed-capacity texts: cut at capacity - 1 characters (never inside one), the cut reported,
// nothing after it kept; bytes that are not UTF-8 counted and repaired as the display sees them.
#include "text/text_buffer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "text/utf8.h"

namespace tavio {
namespace {

std::string rep(std::size_t n, const char* character) {
  std::string text;
  for (std::size_t i = 0; i < n; ++i) {
    text += character;
  }
  return text;
}

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
               {8, {"ééé", "éééé"}, rep(7, "é")},
               {8, {"abcdef", "€€"}, "abcdef€"},
               {4, {rep(4, "𝄞")}, rep(3, "𝄞")},
               {kTextCapacity, {rep(300, "𝄞")}, rep(255, "𝄞")},
               {kSerialCapacity, {rep(16, "ß")}, rep(15, "ß")},
               {16, {"Connected to " + rep(11, "é") + " Net"}, "Connected to éé"},
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

TEST(TextBuffer, AppendfFormatsCutsAndDropsAfterEnd) {
  TextBuffer buffer(12);
  EXPECT_TRUE(buffer.appendf("%s:%d", "port", 3));
  EXPECT_FALSE(buffer.appendf(" %05d|%s", 42, "tail"));
  EXPECT_FALSE(buffer.appendf("%c", 'x'));
  EXPECT_EQ(buffer.str(), "port:3 0004");
  EXPECT_TRUE(buffer.cut());
  buffer.clear();
  EXPECT_FALSE(buffer.cut());
  // Pieces around and beyond the formatter's first guess come out whole, or cut where they
  // should.
  for (const std::size_t n : {std::size_t{255}, std::size_t{256}, std::size_t{700}}) {
    EXPECT_EQ(format_text(1024, "[%s]", std::string(n, 'y').c_str()),
              "[" + std::string(n, 'y') + "]");
  }
  const std::string long_text(700, 'x');
  EXPECT_EQ(format_text(8, "%05d|%s", 42, "abcdef"), "00042|a");
  TextBuffer panel(kLongTextCapacity);
  EXPECT_FALSE(panel.appendf("%s", long_text.c_str()));
  EXPECT_EQ(panel.str(), std::string(511, 'x'));
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
}

}  // namespace
}  // namespace tavio
