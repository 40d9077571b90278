// Site-to-site VPN profiles and their link states.
#ifndef TAVIO_STATUS_VPN_STATUS_H
#define TAVIO_STATUS_VPN_STATUS_H

#include <optional>
#include <string>

#include "tavio/panel_layout.h"
#include "tavio/status_records.h"

namespace tavio {

/// The profiles in "order"; nothing when the API fails or has no "profile"."order".
[[nodiscard]] std::optional<VpnStatusList> vpn_status_collect();
/// The panel text of profile id, or a sentence asking to refresh when it cannot be had.
[[nodiscard]] std::string render_vpn_status(int id, const PanelLayout& layout);

}  // namespace tavio

#endif
