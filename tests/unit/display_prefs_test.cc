// Each panel's saved theme and font grid, and the target font size, under a temporary root.
#include "panel/display_prefs.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "handlers/menu_request.h"
#include "tavio/exchange.h"
#include "tavio/json_ref.h"
#include "temp_root.h"

namespace tavio {
namespace {

using tavio_test::TempRootTest;

const std::string kTheme = "/var/run/dorva/tavio/mmi_theme_settings_SN42.json";
const std::string kFont = "/var/run/dorva/tavio/mmi_font_settings_SN42.json";

JsonPtr parse(const std::string& text) { return json_own(json_loads(text.c_str(), 0, nullptr)); }

class DisplayPrefsTest : public TempRootTest {};

// "google" exactly and "Google" are golden cases; no file is the default of most of them.
TEST_F(DisplayPrefsTest, ThemeModeTwoOnlyForExactGoogleInThePanelsOwnFile) {
  for (const char* content : {"SUPPORT_THEME=google \n", "OTHER=google\n", ""}) {
    write(kTheme, content);
    EXPECT_EQ(load_theme_mode("SN42"), ThemeMode::kDefault) << content;
  }
  // Without a serial the serial part of the name is empty; another panel's file is not read.
  write("/var/run/dorva/tavio/mmi_theme_settings_.json", "SUPPORT_THEME=google\n");
  EXPECT_EQ(load_theme_mode(nullptr), ThemeMode::kAlternative);
  EXPECT_EQ(load_theme_mode(""), ThemeMode::kAlternative);
  EXPECT_EQ(load_theme_mode("SN42"), ThemeMode::kDefault);
}

// A menu request records the panel's theme for the value reads that follow it, only into a
// file that is there.
TEST_F(DisplayPrefsTest, MenuRequestRecordsTheThemeIntoAnExistingFile) {
  EXPECT_FALSE(save_theme_setting("SN42", "google"));
  EXPECT_FALSE(exists(kTheme));
  write(kTheme, "KEEP=me\n");
  Exchange exchange;
  exchange.serial = "SN42";
  const JsonPtr req = parse(R"({"panel": {"theme": "google", "font": []}})");
  static_cast<void>(handle_menu_request(req.get(), exchange));
  EXPECT_EQ(load_theme_mode("SN42"), ThemeMode::kAlternative);
  EXPECT_TRUE(save_theme_setting("SN42", nullptr));
  EXPECT_EQ(read(kTheme), "KEEP=\"me\"\nSUPPORT_THEME=\"\"\n");
  EXPECT_EQ(load_theme_mode("SN42"), ThemeMode::kDefault);
}

TEST_F(DisplayPrefsTest, SavedGridLoadsBackOrTheOldFileStays) {
  ASSERT_TRUE(save_font_grid("SN42", FontGrid{2, 5, 18}));
  const PanelLayout layout = load_font_settings("SN42");
  EXPECT_EQ(layout.chars_per_line, 18);
  EXPECT_EQ(layout.lines, 5);
  // A grid that cannot be saved (the file's name is taken by a folder) is not saved, and a
  // serial that cannot name a file saves nothing anywhere.
  std::filesystem::remove(host(kFont));
  write(kFont + "/blocker", "");
  EXPECT_FALSE(save_font_grid("SN42", FontGrid{2, 5, 18}));
  EXPECT_FALSE(save_font_grid("../SN42", FontGrid{2, 5, 18}));
}

TEST_F(DisplayPrefsTest, LoadFontGivesSavedGridOrDefaults) {
  const struct {
    const char* content;
    std::int32_t lines, size, chars;
  } cases[] = {{"sz=2", 4, 1, 21},
               {R"({"sz": 3, "ln": 6, "ch": 16})", 6, 3, 16},
               {R"({"sz": 3, "ln": 6})", 4, 1, 21},
               {R"({"sz": 3, "ln": 0, "ch": 16})", 4, 1, 21}};
  for (const auto& c : cases) {
    write(kFont, c.content);
    const PanelLayout layout = load_font_settings("SN42");
    EXPECT_EQ(layout.lines, c.lines) << c.content;
    EXPECT_EQ(layout.font_size, c.size) << c.content;
    EXPECT_EQ(layout.chars_per_line, c.chars) << c.content;
  }
}

TEST_F(DisplayPrefsTest, TargetFontSizeFromFileElseTwo) {
  EXPECT_EQ(target_font_size(), 2);
  write("/etc/ac/mmi_target_font_size", "3\n");
  EXPECT_EQ(target_font_size(), 3);
  write("/etc/ac/mmi_target_font_size", "large\n");
  EXPECT_EQ(target_font_size(), 2);
}

}  // namespace
}  // namespace tavio
