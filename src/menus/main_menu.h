// The External panel's home: the main menu, and the alternative theme's dashboard of short
// status lines.
#ifndef TAVIO_MENUS_MAIN_MENU_H
#define TAVIO_MENUS_MAIN_MENU_H

#include "protocol/json_build.h"
#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"

namespace tavio {

/// The main menu: HA, System status, the power units (PMU or PDU), Maintenance, Lock screen
/// (signed-in panels only) and a separator.
[[nodiscard]] JsonPtr main_menu_items(bool signed_in, const PanelLayout& layout);
/// Adds the dashboard's groups and lines to menu.
void dashboard_items(JsonArrayBuilder& menu, const PanelLayout& layout);

/// The lines and entries of one dashboard group: both null when nothing was listed.
struct DashboardGroup {
  JsonPtr lines;    ///< [{"t": text, "is": "on"?}, ...]
  JsonPtr submenu;  ///< one polled entry per line, then a separator
};
/// The WAN connections, cellular (type "gobi") or the others, fitted to the dashboard's width.
[[nodiscard]] DashboardGroup wan_dashboard_group(const PanelLayout& layout, bool cellular);
/// The VPN links with their security, fitted to the dashboard's width.
[[nodiscard]] DashboardGroup vpn_dashboard_group(const PanelLayout& layout);

}  // namespace tavio

#endif
