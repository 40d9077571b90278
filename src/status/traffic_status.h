// Per-WAN traffic: current throughput each way and the data transferred.
#ifndef TAVIO_STATUS_TRAFFIC_STATUS_H
#define TAVIO_STATUS_TRAFFIC_STATUS_H

#include <optional>
#include <string>

#include "tavio/panel_layout.h"
#include "tavio/status_records.h"

namespace tavio {

/// Which way traffic flows, seen from the router's LAN.
enum class TrafficDirection : int {
  kIn = 1,   ///< download
  kOut = 2,  ///< upload
};

/// One line per WAN with its current rate in direction; nothing when the API fails or names
/// no unit.
[[nodiscard]] std::optional<std::string> render_throughput(TrafficDirection direction,
                                                           const PanelLayout& layout);
/// One line per WAN with the data it transferred both ways.
[[nodiscard]] std::optional<std::string> render_data_transfer(const PanelLayout& layout);

}  // namespace tavio

#endif
