// WAN connections: state, address and, for wireless links, signal figures.
#ifndef TAVIO_STATUS_WAN_STATUS_H
#define TAVIO_STATUS_WAN_STATUS_H

#include <optional>
#include <string>

#include "tavio/panel_layout.h"
#include "tavio/status_records.h"

namespace tavio {

/// The enabled connections (the one of id, else all); nothing when the API fails or gives no
/// "order".
[[nodiscard]] std::optional<WanStatusList> wan_status_collect(std::optional<int> id);
/// The panel text of connection id; nothing when the API fails.
[[nodiscard]] std::optional<std::string> render_wan_status(int id, const PanelLayout& layout);

}  // namespace tavio

#endif
