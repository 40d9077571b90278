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
/// 0 when the front-panel port doubles as a WAN port that is not shown as LAN, else 1.
[[nodiscard]] int port_shown_as_lan(const json_t* panel_ports, const json_t* wan, int port);
/// The LAN ports (one with a non-empty id_text, else all); nothing when the API fails.
[[nodiscard]] std::optional<PortStatusList> port_status_collect(const char* id_text);
/// "LAN Status:" and the link text of port; an empty text when the API fails.
[[nodiscard]] std::optional<std::string> render_lan_port_status(int port,
                                                                const PanelLayout& layout);
/// The configured media of port (0 is the LAN), "Auto" when unset; nothing when the
/// configuration cannot be read or the port is negative.
[[nodiscard]] std::optional<std::string> port_media_get(int port);
/// The top speed of port from the interface speed file (1000 for gigabit), 0 when unknown.
[[nodiscard]] int interface_max_speed(int port);

}  // namespace tavio

#endif
