// What one run knows about the panel it answers, settled once from the command line and the
// panel's saved settings, then handed by const reference to every handler and menu builder.
#ifndef TAVIO_EXCHANGE_H
#define TAVIO_EXCHANGE_H

#include <string>

#include "tavio/panel_access.h"
#include "tavio/panel_layout.h"

namespace tavio {

struct Exchange {
  std::string serial;  ///< -s, at most 15 characters; "" selects the unnamed panel's files
  PanelAccessState access = PanelAccessState::kNormal;
  PanelType panel_type = PanelType::kExternal;
  /// The theme the command line allows: kDefault with -K; otherwise the request exchange
  /// offers kAlternative and each handler narrows it by the panel's saved theme.
  ThemeMode theme_mode = ThemeMode::kDefault;
  /// The panel's saved font grid with theme_mode; a menu request lays out by its own table.
  PanelLayout layout;

  [[nodiscard]] bool signed_in() const { return access == PanelAccessState::kSignedIn; }
  [[nodiscard]] bool must_sign_in() const { return access == PanelAccessState::kSignedOut; }
};

}  // namespace tavio

#endif
