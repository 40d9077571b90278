// A panel's own files under a temporary root: its saved theme and font grid, the target font
// size, and its sign-in state from config.run and its access file with the passcode sign-in.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "handlers/menu_request.h"
#include "panel/display_prefs.h"
#include "panel/sign_in.h"
#include "support.h"
#include "tavio/exchange.h"

namespace tavio {
namespace {

const std::string kTheme = "/var/run/dorva/tavio/mmi_theme_settings_SN42.json";
const std::string kFont = "/var/run/dorva/tavio/mmi_font_settings_SN42.json";

class DisplayPrefsTest : public TempRootTest {};

// A menu request records the panel's theme for the value reads that follow it, only into a
// file that is there.
TEST_F(DisplayPrefsTest, MenuRequestRecordsTheThemeIntoAnExistingFile) {
  EXPECT_FALSE(save_theme_setting("SN42", "google"));
  EXPECT_FALSE(exists(kTheme));
  write(kTheme, "KEEP=me\n");
  Exchange exchange;
  exchange.serial = "SN42";
  const JsonPtr req =
      json_own(json_loads(R"({"panel": {"theme": "google", "font": []}})", 0, nullptr));
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

const std::string kConfig = "/usr/local/velto/conf/config.run";
const std::string kAccess = "/var/run/dorva/tavio/panel_access_PNL7.status";
const std::string kCleared = "LATEST_ACCESS=\"0\"\nMMI_LOGIN_KEYCODE=\"\"\n";

class PanelAccessTest : public TempRootTest {};

TEST_F(PanelAccessTest, StateTable) {
  const struct {
    const char* name;
    std::optional<std::string> config;  // nothing: no config.run at all
    std::optional<std::string> access;  // nothing: no access file
    PanelAccessState state;
    std::optional<std::string> access_after;
  } cases[] = {
      {"no config.run locks the panel", std::nullopt, "LATEST_ACCESS=9\n",
       PanelAccessState::kSignedOut, "LATEST_ACCESS=9\n"},
      {"no passcode: nothing to sign in to", "OTHER=1\n", "LATEST_ACCESS=9\n",
       PanelAccessState::kNormal, "LATEST_ACCESS=9\n"},
      {"signed in", "ADMIN_PANEL_PASSCODE=1A2B\n", "LATEST_ACCESS=9\nMMI_LOGIN_KEYCODE=1A2B\n",
       PanelAccessState::kSignedIn, "LATEST_ACCESS=9\nMMI_LOGIN_KEYCODE=1A2B\n"},
      {"passcode changed since: cleared", "ADMIN_PANEL_PASSCODE=1A2C\n",
       "LATEST_ACCESS=9\nMMI_LOGIN_KEYCODE=1A2B\n", PanelAccessState::kSignedOut, kCleared},
      {"signed out earlier", "ADMIN_PANEL_PASSCODE=1A2B\n",
       "LATEST_ACCESS=0\nMMI_LOGIN_KEYCODE=1A2B\n", PanelAccessState::kSignedOut, kCleared},
      {"negative time", "ADMIN_PANEL_PASSCODE=1A2B\n", "LATEST_ACCESS=-5\nMMI_LOGIN_KEYCODE=1A2B\n",
       PanelAccessState::kSignedOut, kCleared},
      {"time not a number", "ADMIN_PANEL_PASSCODE=1A2B\n",
       "LATEST_ACCESS=soon\nMMI_LOGIN_KEYCODE=1A2B\n", PanelAccessState::kSignedOut, kCleared},
      {"no time", "ADMIN_PANEL_PASSCODE=1A2B\n", "MMI_LOGIN_KEYCODE=1A2B\n",
       PanelAccessState::kSignedOut, "MMI_LOGIN_KEYCODE=\"\"\nLATEST_ACCESS=\"0\"\n"},
      {"keycode differs in case", "ADMIN_PANEL_PASSCODE=1A2B\n",
       "LATEST_ACCESS=9\nMMI_LOGIN_KEYCODE=1a2b\n", PanelAccessState::kSignedOut, kCleared},
      {"no access file", "ADMIN_PANEL_PASSCODE=1A2B\n", std::nullopt, PanelAccessState::kSignedOut,
       std::nullopt},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::filesystem::remove(host(kConfig));
    std::filesystem::remove(host(kAccess));
    if (c.config) {
      write(kConfig, *c.config);
    }
    if (c.access) {
      write(kAccess, *c.access);
    }
    EXPECT_EQ(panel_access_state("PNL7"), c.state);
    EXPECT_EQ(read(kAccess), c.access_after);
  }
}

// A sign-in and its refusal are end to end (write-sign-in, write-sign-in-no-access-file);
// without config.run nothing is compared and the panel is not reloaded.
TEST_F(PanelAccessTest, SignInNeedsAConfiguredPasscode) {
  write(kAccess, "KEEP=me\n");
  EXPECT_EQ(panel_sign_in("PNL7", "1A2B"), SignInResult::kNoConfiguration);
  // Without a passcode in config.run nothing typed signs in, not even an empty text.
  write(kConfig, "OTHER=1\n");
  EXPECT_EQ(panel_sign_in("PNL7", "1A2B"), SignInResult::kRefused);
}

}  // namespace
}  // namespace tavio
