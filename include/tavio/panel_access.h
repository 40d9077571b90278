// The panel's sign-in state, handed from the command line to the request handlers.
#ifndef TAVIO_PANEL_ACCESS_H
#define TAVIO_PANEL_ACCESS_H

namespace tavio {

/// 0 no sign-in in force, 1 signed in, 2 sign-in required.
enum PanelAccessState : int {
  kAccessNormal = 0,
  kAccessSignedIn = 1,
  kAccessSignedOut = 2,
};

/// Panel types given with -x.
enum PanelType : int {
  kPanelExternal = 0,
  kPanelPower = 1,
};

}  // namespace tavio

#endif
