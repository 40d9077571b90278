// Panel text layout at the edges of the line width: one character short of it, exactly it and
// one character over it, for both themes, in ASCII and in characters of two, three and four
// bytes (widths count characters).
#include "layout/panel_text.h"

#include <gtest/gtest.h>

#include <string>

#include "text/text_buffer.h"

namespace tavio {
namespace {

// n distinct-looking characters, so a misplaced cut shows in the failure message.
std::string chars(std::size_t n, char first = 'a') {
  std::string text;
  for (std::size_t i = 0; i < n; ++i) {
    text.push_back(static_cast<char>(first + i % 26));
  }
  return text;
}

std::string sp(std::size_t n) { return std::string(n, ' '); }

// n copies of one character of several bytes.
std::string rep(std::size_t n, const char* character) {
  std::string text;
  for (std::size_t i = 0; i < n; ++i) {
    text += character;
  }
  return text;
}

PanelLayout grid(int theme, int chars_per_line, int lines = 4) {
  return make_panel_layout(static_cast<ThemeMode>(theme), 1, chars_per_line, lines);
}

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
               {rep(21, "€"), 21, rep(21, "€"), rep(21, "€")},
               {rep(22, "𝄞"), 21, rep(21, "𝄞") + "\n𝄞", rep(21, "𝄞") + "\n𝄞"},
               {"Réseau-Mobile-Français-Ouest", 21, "Réseau-Mobile-Françai\ns-Ouest",
                "Réseau-Mobile-Françai\ns-Ouest"},
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
