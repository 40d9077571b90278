// Panel text layout at the edges of the line width: one character short of it, exactly it and
// one character over it, for both themes.
#include "layout/panel_text.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "platform/text_buffer.h"

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

PanelLayout grid(int theme, int chars_per_line, int lines = 4) {
  PanelLayout layout;
  return make_panel_layout(layout, theme, 1, chars_per_line, lines);
}

struct WrapCase {
  const char* name;
  std::string text;
  int width;
  std::string wrapped;  // layout_wrap
  std::string value;    // layout_wrap_value
};
void PrintTo(const WrapCase& c, std::ostream* os) { *os << c.name; }

class WrapTest : public ::testing::TestWithParam<WrapCase> {};

TEST_P(WrapTest, BreaksAndAligns) {
  const WrapCase& c = GetParam();
  EXPECT_EQ(layout_wrap(c.text, c.width), c.wrapped);
  EXPECT_EQ(layout_wrap_value(c.text, c.width), c.value);
}

const std::string k43 = chars(43);

INSTANTIATE_TEST_SUITE_P(
    Width21, WrapTest,
    ::testing::Values(WrapCase{"Empty", "", 21, "", sp(21)},
                      WrapCase{"OneShort", chars(20), 21, chars(20), " " + chars(20)},
                      WrapCase{"Exact", chars(21), 21, chars(21), chars(21)},
                      WrapCase{"OneOver", chars(22), 21, chars(21) + "\n" + k43.substr(21, 1),
                               chars(21) + "\n" + k43.substr(21, 1)},
                      WrapCase{"TwoFullLines", chars(42), 21, chars(21) + "\n" + k43.substr(21, 21),
                               chars(21) + "\n" + k43.substr(21, 21)},
                      WrapCase{"TwoLinesAndOne", k43, 21,
                               chars(21) + "\n" + k43.substr(21, 21) + "\n" + k43.substr(42),
                               chars(21) + "\n" + k43.substr(21, 21) + "\n" + k43.substr(42)},
                      WrapCase{"NarrowGrid", "abcdefg", 3, "abc\ndef\ng", "abc\ndef\ng"},
                      WrapCase{"WidthZero", "abc", 0, "", ""}),
    [](const auto& info) { return std::string(info.param.name); });

struct LabelValueCase {
  const char* name;
  int theme;
  int width;
  std::string label;
  std::string value;
  std::string expected;
};
void PrintTo(const LabelValueCase& c, std::ostream* os) { *os << c.name; }

class LabelValueTest : public ::testing::TestWithParam<LabelValueCase> {};

TEST_P(LabelValueTest, LaysOutPair) {
  const LabelValueCase& c = GetParam();
  EXPECT_EQ(layout_label_value(c.label, c.value, grid(c.theme, c.width)), c.expected);
}

const std::string kLabel25 = chars(25, 'A');
const std::string kValue30 = chars(30);

INSTANTIATE_TEST_SUITE_P(
    Width21, LabelValueTest,
    ::testing::Values(
        LabelValueCase{"CpuLoad", 1, 21, "CPU Load", "7%", "CPU Load" + sp(11) + "7%"},
        LabelValueCase{"OneShortFillsLine", 1, 21, chars(14, 'A'), "123456",
                       chars(14, 'A') + " 123456"},
        LabelValueCase{"ExactIsSplit", 1, 21, chars(15, 'A'), "123456",
                       chars(15, 'A') + "\n" + sp(15) + "123456"},
        LabelValueCase{"OneOverIsSplit", 1, 21, chars(16, 'A'), "123456",
                       chars(16, 'A') + "\n" + sp(15) + "123456"},
        LabelValueCase{"LongLabelWraps", 1, 21, kLabel25, "ok",
                       kLabel25.substr(0, 21) + "\n" + kLabel25.substr(21) + "\n" + sp(19) + "ok"},
        LabelValueCase{"ValueOfFullWidth", 1, 21, "IP", chars(21), "IP\n" + chars(21)},
        LabelValueCase{"LongValueWraps", 1, 21, chars(10, 'A'), kValue30,
                       chars(10, 'A') + "\n" + kValue30.substr(0, 21) + "\n" + kValue30.substr(21)},
        LabelValueCase{"EmptyValue", 1, 21, chars(10, 'A'), "", chars(10, 'A') + sp(11)},
        LabelValueCase{"AltCpuLoad", 2, 21, "CPU Load", "7%", "CPU Load 7%"},
        LabelValueCase{"AltOneShort", 2, 21, chars(14, 'A'), "123456", chars(14, 'A') + " 123456"},
        LabelValueCase{"AltExactIsSplit", 2, 21, chars(15, 'A'), "123456",
                       chars(15, 'A') + "\n" + sp(15) + "123456"},
        LabelValueCase{"Grid16", 1, 16, "Uptime", "3d 4h", "Uptime" + sp(5) + "3d 4h"},
        LabelValueCase{"WidthZero", 1, 0, "CPU Load", "7%", ""}),
    [](const auto& info) { return std::string(info.param.name); });

struct FinishCase {
  const char* name;
  int theme;
  int lines;
  std::string text;
  std::size_t capacity;
  std::string expected;
};
void PrintTo(const FinishCase& c, std::ostream* os) { *os << c.name; }

class FinishTest : public ::testing::TestWithParam<FinishCase> {};

TEST_P(FinishTest, PushesShortTextsDownOnlyInAlternativeTheme) {
  const FinishCase& c = GetParam();
  const auto finished = layout_finish(grid(c.theme, 21, c.lines), c.text, c.capacity);
  ASSERT_TRUE(finished.has_value());
  EXPECT_EQ(*finished, c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Themes, FinishTest,
    ::testing::Values(
        FinishCase{"DefaultOneLine", 1, 4, "abc", 256, "abc"},
        FinishCase{"AltOneLine", 2, 4, "abc", 256, "\nabc"},
        FinishCase{"AltThreeLines", 2, 4, "a\nb\nc", 256, "\na\nb\nc"},
        FinishCase{"AltFourLines", 2, 4, "a\nb\nc\nd", 256, "a\nb\nc\nd"},
        FinishCase{"AltOneLineScreen", 2, 1, "abc", 256, "abc"},
        // A full 255-character buffer still gets its empty top line: capacity + 1 bytes.
        FinishCase{"AltFullBuffer", 2, 4, chars(255), 256, "\n" + chars(255)},
        // Only the line breaks within the buffer's capacity are counted.
        FinishCase{"AltBreaksPastCapacity", 2, 4, "ab\nc\nd\ne", 4, "\nab\n"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(LayoutFinish, NoTextGivesNothing) {
  EXPECT_FALSE(layout_finish(grid(1, 21), std::nullopt, 256).has_value());
  EXPECT_FALSE(layout_finish(grid(2, 21), std::nullopt, 256).has_value());
}

TEST(LayoutLabelValue, AbsurdWidthFromDamagedGridStaysBounded) {
  const PanelLayout layout = grid(1, 1 << 30);
  EXPECT_LE(layout_label_value("CPU Load", "7%", layout).size(), kMaxTextCapacity + 10);
  EXPECT_LE(layout_wrap_value("7%", 1 << 30).size(), kMaxTextCapacity);
}

TEST(LayoutCompose, TextBufferCutsComposedScreen) {
  const PanelLayout layout = grid(1, 21);
  TextBuffer screen(32);
  EXPECT_TRUE(screen.append(layout_label_value("CPU Load", "7%", layout)));
  EXPECT_TRUE(screen.append("\n"));
  EXPECT_FALSE(screen.append(layout_label_value("Memory", "40%", layout)));
  EXPECT_FALSE(screen.append("\n"));
  EXPECT_EQ(screen.str(), "CPU Load" + sp(11) + "7%\nMemory" + sp(3));
  EXPECT_TRUE(screen.cut());
}

}  // namespace
}  // namespace tavio
