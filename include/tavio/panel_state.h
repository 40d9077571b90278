// The panel's sign-in state and type, handed from the command line to the request handlers.
#ifndef TAVIO_PANEL_STATE_H
#define TAVIO_PANEL_STATE_H

namespace tavio {

/// Whether the panel must sign in with its passcode.
enum class PanelAccessState : int {
  kNormal = 0,     ///< no passcode configured, or no check asked for (no -K)
  kSignedIn = 1,   ///< a passcode is configured and this panel signed in
  kSignedOut = 2,  ///< a passcode is configured and this panel must sign in
};

/// Panel types given with -x.
enum class PanelType : int {
  kExternal = 0,  ///< the front panel with the router's menus
  kPower = 1,     ///< the power panel: external power input and batteries
};

}  // namespace tavio

#endif
