// The panel's passcode sign-in. When config.run holds a panel passcode the panel is locked
// until the passcode is typed; each panel's sign-in is kept in its access file in the run
// directory, since every exchange is a run of its own.
#ifndef TAVIO_PANEL_SIGN_IN_H
#define TAVIO_PANEL_SIGN_IN_H

#include "tavio/panel_state.h"

namespace tavio {

/// The sign-in state of the panel with this serial, worked out at the start of a run:
/// kNormal without a passcode, kSignedOut when config.run cannot be read (locked).
[[nodiscard]] PanelAccessState panel_access_state(const char* serial);
/// True when the panel's access file records a sign-in with passcode; otherwise the file is
/// cleared (a stale sign-in is wiped) and the answer is false.
[[nodiscard]] bool panel_access_valid(const char* serial, const char* passcode);
/// Records a sign-in with passcode at the current uptime; false when the file was not written.
bool panel_access_record(const char* serial, const char* passcode);
/// Records a sign-out; false when the file was not written.
bool panel_access_clear(const char* serial);

/// How a typed passcode fared.
enum class SignInResult {
  kNoConfiguration,  ///< config.run could not be read: nothing compared, nothing to reload
  kSignedIn,         ///< the passcode matched and the sign-in was recorded
  kRefused,          ///< wrong passcode, or the sign-in could not be recorded
};
/// Compares typed with the configured passcode and records a matching sign-in.
[[nodiscard]] SignInResult panel_sign_in(const char* serial, const char* typed);

/// "NORMAL", "SIGNED_IN", "SIGNED_OUT" or "UNKNOWN", for the service dump.
[[nodiscard]] const char* panel_access_state_name(PanelAccessState state);

}  // namespace tavio

#endif
