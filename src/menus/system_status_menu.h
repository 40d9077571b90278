// The "System status" branch of the panel's menu: identity texts fixed in the menu, every
// other figure an entry that the panel polls by its key.
#ifndef TAVIO_MENUS_SYSTEM_STATUS_MENU_H
#define TAVIO_MENUS_SYSTEM_STATUS_MENU_H

#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"
#include "tavio/status_records.h"

namespace tavio {

/// The "system_main" tree: System, LAN, WAN (from wans, which may be null), VPN, Bandwidth.
[[nodiscard]] JsonPtr build_system_status_menu(const WanStatusList* wans,
                                               const PanelLayout& layout);
/// The "ha_main" entry titled with the HA role; null while HA by VRRP is off.
[[nodiscard]] JsonPtr build_ha_status_item(const PanelLayout& layout);

}  // namespace tavio

#endif
