// The panel's sign-in state from config.run and its access file, and the passcode sign-in.
#include "panel/sign_in.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "temp_root.h"

namespace tavio {
namespace {

using tavio_test::TempRootTest;

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
      {"empty passcode", "ADMIN_PANEL_PASSCODE=\"\"\n", std::nullopt, PanelAccessState::kNormal,
       std::nullopt},
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

TEST_F(PanelAccessTest, SignInRecordsOnlyTheConfiguredPasscode) {
  write(kAccess, "KEEP=me\n");
  EXPECT_EQ(panel_sign_in("PNL7", "1A2B"), SignInResult::kNoConfiguration);

  write(kConfig, "ADMIN_PANEL_PASSCODE=1A2B\n");
  EXPECT_EQ(panel_sign_in("PNL7", "1A2C"), SignInResult::kRefused);
  EXPECT_EQ(read(kAccess), "KEEP=me\n");  // a wrong passcode leaves the file alone

  EXPECT_EQ(panel_sign_in("PNL7", "1A2B"), SignInResult::kSignedIn);
  EXPECT_EQ(panel_access_state("PNL7"), PanelAccessState::kSignedIn);
  EXPECT_TRUE(panel_access_clear("PNL7"));
  EXPECT_EQ(panel_access_state("PNL7"), PanelAccessState::kSignedOut);

  // Without a passcode in config.run nothing typed signs in, not even an empty text.
  write(kConfig, "OTHER=1\n");
  EXPECT_EQ(panel_sign_in("PNL7", "1A2B"), SignInResult::kRefused);
  // A panel whose access file cannot be loaded cannot record its sign-in.
  write(kConfig, "ADMIN_PANEL_PASSCODE=1A2B\n");
  EXPECT_EQ(panel_sign_in("OTHER", "1A2B"), SignInResult::kRefused);
}

}  // namespace
}  // namespace tavio
