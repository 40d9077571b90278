// The "Maintenance" branch: port speeds, reboot, administrator password, factory defaults
// and remote assistance.
#ifndef TAVIO_MENUS_MAINTENANCE_MENU_H
#define TAVIO_MENUS_MAINTENANCE_MENU_H

#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"
#include "tavio/status_records.h"

namespace tavio {

/// The "maintenance_main" tree; wans (may be null) gives a speed entry to each Ethernet WAN.
[[nodiscard]] JsonPtr maintenance_menu(const WanStatusList* wans, const PanelLayout& layout);

}  // namespace tavio

#endif
