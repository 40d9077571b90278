// What one run knows about the panel it answers, settled once from the command line and the
// panel's saved settings, then handed by const reference to every handler and menu builder.
#ifndef TAVIO_EXCHANGE_H
#define TAVIO_EXCHANGE_H

#include <string>

#include "tavio/panel_layout.h"
#include "tavio/panel_state.h"

namespace tavio {

struct Exchange {
  std::string serial;  ///< -s, at most 15 characters; "" selects the unnamed panel's files
  PanelAccessState access = PanelAccessState::kNormal;
  PanelType panel_type = PanelType::kExternal;
  /// Whether the panel may use the alternative theme: not a panel that signs in with a
  /// passcode (-K).
  bool alternative_theme_allowed = false;
  /// The panel's saved font grid, in its saved theme where that is allowed; a menu request
  /// lays out by its own font table and theme.
  PanelLayout layout;

  [[nodiscard]] bool signed_in() const { return access == PanelAccessState::kSignedIn; }
  [[nodiscard]] bool must_sign_in() const { return access == PanelAccessState::kSignedOut; }
};

}  // namespace tavio

#endif
