// Fixed-capacity texts: cut at capacity - 1 characters, the cut reported, nothing after it kept.
#include "platform/text_buffer.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace tavio {
namespace {

TEST(TextBuffer, AppendCutsAtCapacityMinusOne) {
  const struct {
    std::size_t capacity;
    std::vector<std::pair<std::string, bool>> steps;  // piece, whether it went in whole
    std::string expected;
  } cases[] = {{8, {{"abc", true}, {"defg", true}}, "abcdefg"},
               {8, {{"abcdefgh", false}}, "abcdefg"},
               {8, {{"abcde", true}, {"fghij", false}}, "abcdefg"},
               {8, {{"abcdefg", true}, {"h", false}, {"", true}}, "abcdefg"},
               {1, {{"a", false}}, ""},
               {0, {{"a", false}}, ""}};
  for (const auto& c : cases) {
    TextBuffer buffer(c.capacity);
    bool any_cut = false;
    for (const auto& [piece, whole] : c.steps) {
      EXPECT_EQ(buffer.append(piece), whole) << c.capacity << " " << piece;
      any_cut = any_cut || !whole;
    }
    EXPECT_EQ(buffer.str(), c.expected);
    EXPECT_EQ(buffer.cut(), any_cut) << c.expected;
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
  // Pieces longer than the formatter's first guess come out whole, or cut where they should.
  const std::string long_text(700, 'x');
  TextBuffer big(1024);
  EXPECT_TRUE(big.appendf("[%s]", long_text.c_str()));
  EXPECT_EQ(big.str(), "[" + long_text + "]");
  TextBuffer panel(kLongTextCapacity);
  EXPECT_FALSE(panel.appendf("%s", long_text.c_str()));
  EXPECT_EQ(panel.str(), std::string(511, 'x'));
}

TEST(CutText, KeepsCapacityMinusOne) {
  const struct {
    std::size_t capacity;
    std::string text, expected;
  } cases[] = {{8, "abcdefg", "abcdefg"},
               {8, "abcdefgh", "abcdefg"},
               {1, "abc", ""},
               {0, "abc", ""},
               {kTextCapacity, std::string(300, 'p'), std::string(255, 'p')}};
  for (const auto& c : cases) {
    EXPECT_EQ(cut_text(c.text, c.capacity), c.expected) << c.capacity << " " << c.text;
    EXPECT_EQ(format_text(c.capacity, "%s", c.text.c_str()), c.expected) << c.capacity;
  }
  EXPECT_EQ(format_text(8, "%05d|%s", 42, "abcdef"), "00042|a");
}

}  // namespace
}  // namespace tavio
