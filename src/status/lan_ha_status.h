// The LAN address and, with high availability by VRRP, the router's HA role.
#ifndef TAVIO_STATUS_LAN_HA_STATUS_H
#define TAVIO_STATUS_LAN_HA_STATUS_H

#include <optional>
#include <string>

#include "tavio/panel_layout.h"
#include "tavio/status_records.h"

namespace tavio {

/// The panel word of an HA role: "Master", "Slave", "Slave (Isolated)" or "Unknown".
[[nodiscard]] const char* ha_state_word(const char* word);
/// "HA State:" and the role while HA by VRRP is on, "" otherwise; nothing without the HA file.
[[nodiscard]] std::optional<std::string> ha_state_title();
/// The dotted mask of a prefix length (0 and 32 both give 255.255.255.255).
[[nodiscard]] std::string prefix_to_mask(int length);
/// The first LAN profile's address; nothing when the API fails or lacks it.
[[nodiscard]] std::optional<LanAddress> lan_address_get();
/// "HA is disable!", or the LAN and virtual addresses; nothing without the HA file.
[[nodiscard]] std::optional<std::string> render_ha_status(const PanelLayout& layout);
/// "LAN IP:" and "Subnet mask:"; nothing when the address cannot be had.
[[nodiscard]] std::optional<std::string> render_lan_ip(const PanelLayout& layout);

}  // namespace tavio

#endif
