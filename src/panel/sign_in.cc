#include "panel/sign_in.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/clock.h"
#include "platform/router_paths.h"
#include "platform/router_support.h"
#include "sources/outside_text.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr char kPasscodeKey[] = "ADMIN_PANEL_PASSCODE";
constexpr char kLatestAccessKey[] = "LATEST_ACCESS";
constexpr char kLoginKeycodeKey[] = "MMI_LOGIN_KEYCODE";

// Rewrites the panel's existing access file with the two keys.
bool write_access(const char* serial, const char* latest_access, const char* keycode) {
  const TaglistPtr access = load_panel_taglist(kPanelAccessFormat, serial);
  if (!access) {
    return false;
  }
  return update_taglist_ex(access.get(), kLatestAccessKey, latest_access) == 0 &&
         update_taglist_ex(access.get(), kLoginKeycodeKey, keycode) == 0 &&
         save_taglist_ex(access.get(), 1) == 0;
}

}  // namespace

PanelAccessState panel_access_state(const char* serial) {
  const TaglistPtr config = load_taglist(kConfigRun);
  if (!config) {
    return PanelAccessState::kSignedOut;  // fail closed
  }
  const char* passcode = get_taglist_default_ex(config.get(), "", kPasscodeKey);
  if (passcode[0] == '\0') {
    return PanelAccessState::kNormal;
  }
  return panel_access_valid(serial, passcode) ? PanelAccessState::kSignedIn
                                              : PanelAccessState::kSignedOut;
}

bool panel_access_valid(const char* serial, const char* passcode) {
  const TaglistPtr access = load_panel_taglist(kPanelAccessFormat, serial);
  if (!access) {
    return false;
  }
  const long latest =
      std::strtol(get_taglist_default_ex(access.get(), "0", kLatestAccessKey), nullptr, 10);
  const char* keycode = get_taglist_default_ex(access.get(), "", kLoginKeycodeKey);
  if (latest > 0 && std::strcmp(keycode, passcode) == 0) {
    return true;
  }
  panel_access_clear(serial);
  return false;
}

bool panel_access_record(const char* serial, const char* passcode) {
  const std::string uptime = format_text(kTextCapacity, "%ld", system_uptime());
  return write_access(serial, uptime.c_str(), passcode);
}

bool panel_access_clear(const char* serial) { return write_access(serial, "0", ""); }

SignInResult panel_sign_in(const char* serial, const char* typed) {
  const TaglistPtr config = load_taglist(kConfigRun);
  if (!config) {
    return SignInResult::kNoConfiguration;
  }
  // With no passcode configured nothing typed matches: there is nothing to sign in to.
  const char* passcode = get_taglist_default_ex(config.get(), "", kPasscodeKey);
  if (std::strcmp(typed, passcode) != 0) {
    return SignInResult::kRefused;
  }
  if (!panel_access_record(serial, passcode)) {
    panel_access_clear(serial);
    return SignInResult::kRefused;
  }
  return SignInResult::kSignedIn;
}

const char* panel_access_state_name(PanelAccessState state) {
  switch (state) {
    case PanelAccessState::kNormal:
      return "NORMAL";
    case PanelAccessState::kSignedIn:
      return "SIGNED_IN";
    case PanelAccessState::kSignedOut:
      return "SIGNED_OUT";
  }
  return "UNKNOWN";
}

}  // namespace tavio
