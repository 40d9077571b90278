// The External panel's home: the main menu, and the alternative theme's dashboard of short
// status lines.
#ifndef TAVIO_MENUS_MAIN_MENU_H
#define TAVIO_MENUS_MAIN_MENU_H

#include <jansson.h>

#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"

namespace tavio {

/// The main menu: HA, System status, Maintenance, Lock screen (signed-in panels only) and a
/// separator.
[[nodiscard]] JsonPtr main_menu_items(bool signed_in, const PanelLayout& layout);
/// Appends the dashboard's groups and lines to menu; false only for a null menu.
bool dashboard_items(json_t* menu, const PanelLayout& layout);

/// The lines and entries of one dashboard group: both null when nothing was listed.
struct DashboardGroup {
  JsonPtr lines;    ///< [{"t": text, "is": "on"?}, ...]
  JsonPtr submenu;  ///< one polled entry per line
};
/// The WAN connections, cellular (type "gobi") or the others, fitted to width characters.
[[nodiscard]] DashboardGroup wan_dashboard_group(int width, bool cellular);
/// The VPN links with their security, fitted to width characters.
[[nodiscard]] DashboardGroup vpn_dashboard_group(int width);

}  // namespace tavio

#endif
