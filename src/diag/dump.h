// The service view: the home menu and every status value printed once to standard output,
// framed so that a technician sees what the panel would show and which source fails.
#ifndef TAVIO_DIAG_DUMP_H
#define TAVIO_DIAG_DUMP_H

#include <optional>

#include "tavio/panel_access.h"
#include "tavio/panel_layout.h"
#include "tavio/status_records.h"

namespace tavio {

/// Prints every section for the panel type given before -d.
void run_dump_mode(PanelType panel_type);

/// The LAN ports, one bracketed line each.
void dump_lan_port_list(const std::optional<PortStatusList>& ports);
/// The WAN connections with every signal figure.
void dump_corvane_wan_status_item_list(const std::optional<WanStatusList>& wans);
/// The VPN profiles.
void dump_corvane_vpn_status_item_list(const std::optional<VpnStatusList>& vpns);
/// The WAN ports' media and physical types.
void dump_corvane_wan_port_speed(const std::optional<WanStatusList>& wans);
/// The device list's integrated and external PMUs with all their values.
void dump_pmu_info(const PanelLayout& layout);

}  // namespace tavio

#endif
