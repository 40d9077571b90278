#include "status/traffic_status.h"

#include <cstdint>

#include "layout/panel_text.h"
#include "platform/json_get.h"
#include "platform/text_buffer.h"
#include "sources/local_api.h"

namespace tavio {
namespace {

constexpr std::size_t kFigureCapacity = 64;

enum class Figure { kDownload, kUpload, kBothWays };

//  WAN1:         1200Kbps
//  Cellular:      300Kbps
std::optional<std::string> render_traffic(const char* section_name, Figure figure,
                                          const PanelLayout& layout) {
  const ApiResultPtr result = api_read("status.traffic");
  if (!result) {
    return std::nullopt;
  }
  const json_t* section = json_object_get(result->response, section_name);
  const json_t* order = json_object_get(section, "order");
  const char* unit = jget_string(section, "unit", "");
  if (section == nullptr || !json_is_array(order) || unit[0] == '\0') {
    return std::nullopt;
  }
  TextBuffer text(kLongTextCapacity);
  bool first = true;
  for (std::size_t i = 0; i < json_array_size(order); ++i) {
    const json_t* wan = json_member_by_id(section, json_order_id(json_array_get(order, i)));
    const json_t* overall = json_object_get(wan, "overall");
    if (wan == nullptr || overall == nullptr) {
      continue;
    }
    const std::int32_t download = jget_int(overall, "download", 0);
    const std::int32_t upload = jget_int(overall, "upload", 0);
    std::int32_t value = download;
    if (figure == Figure::kUpload) {
      value = upload;
    } else if (figure == Figure::kBothWays) {
      // The sum stays 32 bits wide, as the router's counters are.
      value = static_cast<std::int32_t>(static_cast<std::uint32_t>(download) +
                                        static_cast<std::uint32_t>(upload));
    }
    // Widened with its sign, then shown unsigned: a negative figure reads as a huge one.
    const std::string shown =
        format_text(kFigureCapacity, "%llu%s",
                    static_cast<unsigned long long>(static_cast<long long>(value)), unit);
    const std::string label = format_text(kFigureCapacity, "%s:", jget_string(wan, "name", ""));
    if (!first) {
      text.append("\n");
    }
    first = false;
    text.append(layout_label_value(label, shown, layout));
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
