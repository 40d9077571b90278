// The built-in Wi-Fi access point and its networks.
#ifndef TAVIO_STATUS_WIFI_STATUS_H
#define TAVIO_STATUS_WIFI_STATUS_H

#include <optional>
#include <string>
#include <vector>

#include "tavio/panel_layout.h"

namespace tavio {

/// The built-in access point: supported and off, supported and on, not supported or unknown.
enum class WifiApState : int {
  kOff = 0,
  kOn = 1,
  kUnsupported = 2,
};

/// Whether the router has an access point and whether it is on.
[[nodiscard]] WifiApState wifi_ap_support();
/// The most networks of WLAN_ORDER looked at. An access point carries up to sixteen
/// networks; 64 leaves room.
constexpr int kMaxSsids = 64;
/// The names of the enabled networks among the first kMaxSsids of WLAN_ORDER; nothing
/// without configuration or order.
[[nodiscard]] std::optional<std::vector<std::string>> wifi_ssid_list();
/// "Wi-Fi AP:" with "ON" and the SSIDs, "OFF", or "Not support Wi-Fi AP".
[[nodiscard]] std::optional<std::string> render_wifi_ap(const PanelLayout& layout);

}  // namespace tavio

#endif
