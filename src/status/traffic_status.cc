#include "status/traffic_status.h"

#include <cstdint>

#include "layout/panel_text.h"
#include "protocol/json_get.h"
#include "sources/local_api.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr std::size_t kFigureCapacity = 64;

enum class Figure { kDownload, kUpload, kBothWays };

// The traffic section ("bandwidth": current rates, "traffic": data transferred): the overall
// figures of each WAN of its order that has them; nothing when the API fails or the section
// has no order or names no unit.
std::optional<TrafficList> traffic_collect(const char* section_name) {
  const JsonPtr result = api_read("status.traffic");
  const json_t* section = result ? json_object_get(result.get(), section_name) : nullptr;
  const auto wans = ordered_members(section, kMaxWanConnections);
  const char* unit = jget_string(section, "unit", "");
  if (!wans || unit[0] == '\0') {
    return std::nullopt;
  }
  TrafficList list;
  list.unit = unit;
  for (const auto& [id, wan] : *wans) {
    const json_t* overall = json_object_get(wan, "overall");
    if (wan == nullptr || overall == nullptr) {
      continue;
    }
    list.items.push_back({jget_string(wan, "name", ""), jget_int(overall, "download", 0),
                          jget_int(overall, "upload", 0)});
  }
  return list;
}

// The router's counters are signed 32-bit numbers that wrap, and a sum wraps as they do. A
// figure that went negative is shown as the 64-bit unsigned number of the same value (-1
// reads 18446744073709551615), as the display has always shown it.
std::string figure_text(std::int32_t value, const std::string& unit) {
  return format_text(kFigureCapacity, "%llu%s",
                     static_cast<unsigned long long>(static_cast<long long>(value)), unit.c_str());
}

//  WAN1:         1200Kbps
//  Cellular:      300Kbps
std::optional<std::string> render_traffic(const char* section_name, Figure figure,
                                          const PanelLayout& layout) {
  const std::optional<TrafficList> traffic = traffic_collect(section_name);
  if (!traffic) {
    return std::nullopt;
  }
  TextBuffer text(kLongTextCapacity);
  for (const WanTraffic& wan : traffic->items) {
    std::int32_t value = wan.download;
    if (figure == Figure::kUpload) {
      value = wan.upload;
    } else if (figure == Figure::kBothWays) {
      value = static_cast<std::int32_t>(static_cast<std::uint32_t>(wan.download) +
                                        static_cast<std::uint32_t>(wan.upload));
    }
    if (&wan != &traffic->items.front()) {
      text.append("\n");
    }
    const std::string label = format_text(kFigureCapacity, "%s:", wan.name.c_str());
    text.append(layout_label_value(label, figure_text(value, traffic->unit), layout));
  }
  return layout_finish(layout, text.str(), kLongTextCapacity);
}

}  // namespace

std::optional<std::string> render_throughput(TrafficDirection direction,
                                             const PanelLayout& layout) {
  return render_traffic("bandwidth",
                        direction == TrafficDirection::kIn ? Figure::kDownload : Figure::kUpload,
                        layout);
}

std::optional<std::string> render_data_transfer(const PanelLayout& layout) {
  return render_traffic("traffic", Figure::kBothWays, layout);
}

}  // namespace tavio
