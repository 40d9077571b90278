// The panel's passcode sign-in state, kept per panel serial in the run directory.
#ifndef TAVIO_MENUS_PANEL_ACCESS_H
#define TAVIO_MENUS_PANEL_ACCESS_H

#include "tavio/panel_access.h"

namespace tavio {

/// The sign-in state of the panel with this serial, worked out at the start of a run.
[[nodiscard]] PanelAccessState panel_access_state(const char* serial);

}  // namespace tavio

#endif
