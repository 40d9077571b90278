// LAN ports: link states, the configured port media and each port's top speed.
#ifndef TAVIO_STATUS_PORT_STATUS_H
#define TAVIO_STATUS_PORT_STATUS_H

#include <optional>
#include <string>

#include "tavio/panel_layout.h"
#include "tavio/status_records.h"

namespace tavio {

/// The LAN ports (the one of id, else all); nothing when the API fails.
[[nodiscard]] std::optional<PortStatusList> port_status_collect(std::optional<int> id);
/// "LAN Status:" and the link text of port; an empty text when the API fails.
[[nodiscard]] std::optional<std::string> render_lan_port_status(int port,
                                                                const PanelLayout& layout);

}  // namespace tavio

#endif
