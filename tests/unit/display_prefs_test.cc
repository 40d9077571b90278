// Each panel's saved theme and font grid, and the target font size, under a temporary root.
#include "menus/display_prefs.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>

#include "tavio/json_ref.h"
#include "temp_root.h"

namespace tavio {
namespace {

using tavio_test::TempRootTest;

const std::string kTheme = "/var/run/dorva/tavio/mmi_theme_settings_SN42.json";
const std::string kFont = "/var/run/dorva/tavio/mmi_font_settings_SN42.json";

class DisplayPrefsTest : public TempRootTest {};

TEST_F(DisplayPrefsTest, ThemeModeTwoOnlyForExactGoogle) {
  EXPECT_EQ(load_theme_mode("SN42"), 1);  // no file
  const struct {
    const char* content;
    int mode;
  } cases[] = {{"SUPPORT_THEME=google\n", 2}, {"SUPPORT_THEME=\"google\"\n", 2},
               {"SUPPORT_THEME=Google\n", 1}, {"SUPPORT_THEME=google \n", 1},
               {"OTHER=google\n", 1},         {"", 1}};
  for (const auto& c : cases) {
    root_.write(kTheme, c.content);
    EXPECT_EQ(load_theme_mode("SN42"), c.mode) << c.content;
  }
  EXPECT_EQ(load_theme_mode("OTHER"), 1);
}

TEST_F(DisplayPrefsTest, NoSerialSharesFileWithEmptySerialPart) {
  root_.write("/var/run/dorva/tavio/mmi_theme_settings_.json", "SUPPORT_THEME=google\n");
  EXPECT_EQ(load_theme_mode(nullptr), 2);
  EXPECT_EQ(load_theme_mode(""), 2);
}

TEST_F(DisplayPrefsTest, SaveThemeOnlyIntoExistingFile) {
  EXPECT_EQ(save_theme_setting("SN42", "google"), 1);
  EXPECT_FALSE(root_.exists(kTheme));
  root_.write(kTheme, "KEEP=me\n");
  EXPECT_EQ(save_theme_setting("SN42", "google"), 1);
  EXPECT_EQ(load_theme_mode("SN42"), 2);
  EXPECT_EQ(save_theme_setting("SN42", nullptr), 1);
  EXPECT_EQ(root_.read(kTheme), "KEEP=\"me\"\nSUPPORT_THEME=\"\"\n");
  EXPECT_EQ(load_theme_mode("SN42"), 1);
}

TEST_F(DisplayPrefsTest, MatchSkipsEntriesWithZeroAndSavesGrid) {
  const JsonPtr table = json_own(json_loads(
      R"([{"sz":1,"ln":4,"ch":21},{"sz":2,"ln":0,"ch":21},{"sz":2,"ln":5,"ch":18},
          {"sz":2,"ln":6,"ch":16}])",
      0, nullptr));
  std::int32_t chars = -1;
  std::int32_t lines = -1;
  ASSERT_EQ(match_font_settings(table.get(), "SN42", 2, &chars, &lines), 1);
  EXPECT_EQ(chars, 18);
  EXPECT_EQ(lines, 5);
  const JsonPtr saved = json_own(json_loads(root_.read(kFont).value_or("").c_str(), 0, nullptr));
  ASSERT_TRUE(saved);
  const JsonPtr expected = json_own(json_pack("{si,si,si}", "sz", 2, "ln", 5, "ch", 18));
  EXPECT_TRUE(json_equal(saved.get(), expected.get()));
}

TEST_F(DisplayPrefsTest, NoMatchKeepsFileAndOutputs) {
  root_.write(kFont, R"({"sz": 1, "ln": 4, "ch": 21})");
  std::int32_t chars = -1;
  std::int32_t lines = -1;
  for (const char* table : {R"([{"sz":3,"ln":6,"ch":16}])", R"([{"sz":2,"ln":5}])", "[]", "{}"}) {
    const JsonPtr doc = json_own(json_loads(table, 0, nullptr));
    EXPECT_EQ(match_font_settings(doc.get(), "SN42", 2, &chars, &lines), 0) << table;
  }
  EXPECT_EQ(match_font_settings(nullptr, "SN42", 2, &chars, &lines), 0);
  EXPECT_EQ(chars, -1);
  EXPECT_EQ(lines, -1);
  EXPECT_EQ(root_.read(kFont), R"({"sz": 1, "ln": 4, "ch": 21})");
}

TEST_F(DisplayPrefsTest, MatchFailsWhenGridCannotBeWritten) {
  root_.write(kFont + "/blocker", "");  // the file's name is taken by a folder
  const JsonPtr table = json_own(json_loads(R"([{"sz":2,"ln":5,"ch":18}])", 0, nullptr));
  std::int32_t chars = -1;
  std::int32_t lines = -1;
  EXPECT_EQ(match_font_settings(table.get(), "SN42", 2, &chars, &lines), 0);
  EXPECT_EQ(chars, -1);
  EXPECT_EQ(lines, -1);
}

struct FontFileCase {
  const char* name;
  const char* content;  // null: no file
  std::int32_t lines, size, chars;
};
void PrintTo(const FontFileCase& c, std::ostream* os) { *os << c.name; }

class LoadFontTest : public TempRootTest, public ::testing::WithParamInterface<FontFileCase> {};

TEST_P(LoadFontTest, GivesSavedGridDefaultsOrCallerValues) {
  const FontFileCase& c = GetParam();
  if (c.content != nullptr) {
    root_.write(kFont, c.content);
  }
  std::int32_t lines = 7;
  std::int32_t size = 8;
  std::int32_t chars = 9;
  EXPECT_EQ(load_font_settings("SN42", &lines, &size, &chars), 1);
  EXPECT_EQ(lines, c.lines);
  EXPECT_EQ(size, c.size);
  EXPECT_EQ(chars, c.chars);
}

INSTANTIATE_TEST_SUITE_P(
    Files, LoadFontTest,
    ::testing::Values(FontFileCase{"Missing", nullptr, 4, 1, 21},
                      FontFileCase{"NotJson", "sz=2", 4, 1, 21},
                      FontFileCase{"Saved", R"({"sz": 3, "ln": 6, "ch": 16})", 6, 3, 16},
                      FontFileCase{"NoChars", R"({"sz": 3, "ln": 6})", 7, 8, 9},
                      FontFileCase{"ZeroLines", R"({"sz": 3, "ln": 0, "ch": 16})", 7, 8, 9}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(DisplayPrefsTest, TargetFontSizeFromFileElseTwo) {
  EXPECT_EQ(target_font_size(), 2);
  root_.write("/etc/ac/mmi_target_font_size", "3\n");
  EXPECT_EQ(target_font_size(), 3);
  root_.write("/etc/ac/mmi_target_font_size", "large\n");
  EXPECT_EQ(target_font_size(), 2);
}

}  // namespace
}  // namespace tavio
