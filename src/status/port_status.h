// LAN ports: link states, the configured port media and each port's top speed.
#ifndef TAVIO_STATUS_PORT_STATUS_H
#define TAVIO_STATUS_PORT_STATUS_H

#include <jansson.h>

#include <optional>
#include <string>

#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"
#include "tavio/status_records.h"

namespace tavio {

/// The link text of an API speed such as "100FD": "negotiated 100baseTx-FD flow-control,
/// link ok", or "no link".
[[nodiscard]] std::string port_speed_text(const char* speed);
/// The first front panel's port descriptions; nothing when the API has none.
[[nodiscard]] JsonPtr front_panel_ports();
/// False when the front-panel port doubles as a WAN port that is not shown as LAN.
[[nodiscard]] bool port_shown_as_lan(const json_t* panel_ports, const json_t* wan, int port);
/// The LAN ports (the one of id, else all); nothing when the API fails.
[[nodiscard]] std::optional<PortStatusList> port_status_collect(std::optional<int> id);
/// "LAN Status:" and the link text of port; an empty text when the API fails.
[[nodiscard]] std::optional<std::string> render_lan_port_status(int port,
                                                                const PanelLayout& layout);

}  // namespace tavio

#endif
