#include "status/wifi_status.h"

#include <cstring>

#include "layout/panel_text.h"
#include "platform/router_paths.h"
#include "platform/router_support.h"
#include "sources/local_api.h"
#include "text/text_buffer.h"

namespace tavio {
WifiApState wifi_ap_support() {
  const JsonPtr result = api_read("cmd.ap");
  if (!result || !json_is_true(json_object_get(result.get(), "support"))) {
    return WifiApState::kUnsupported;
  }
  return json_is_true(json_object_get(result.get(), "enable")) ? WifiApState::kOn
                                                               : WifiApState::kOff;
}

std::optional<std::vector<std::string>> wifi_ssid_list() {
  const TaglistPtr config = load_taglist(kConfigRun);
  if (!config) {
    return std::nullopt;
  }
  const char* order = get_taglist_default_ex(config.get(), "", "WLAN_ORDER");
  if (order[0] == '\0') {
    return std::nullopt;
  }
  const NumlistPtr networks(create_numlist(order));
  if (!networks || networks->count == 0) {
    return std::nullopt;
  }
  std::vector<std::string> names;
  for (int i = 0; i < networks->count && i < kMaxSsids; ++i) {
    const int n = networks->nums[i];
    const char* status = get_taglist_default_ex(config.get(), "", "WLAN%d_ADMIN_STATUS", n);
    const char* ssid = get_taglist_default_ex(config.get(), "", "WLAN%d_SSID", n);
    if (std::strcmp(status, "enable") == 0 && ssid[0] != '\0') {
      names.emplace_back(ssid);
    }
  }
  return names;
}

//  Wi-Fi AP:          ON
//  SSID:
//               Office
std::optional<std::string> render_wifi_ap(const PanelLayout& layout) {
  TextBuffer text(kLongTextCapacity);
  switch (wifi_ap_support()) {
    case WifiApState::kUnsupported:
      text.append(layout_wrap("Not support Wi-Fi AP", layout.chars_per_line));
      break;
    case WifiApState::kOff:
      text.append(layout_label_value("Wi-Fi AP:", "OFF", layout));
      break;
    case WifiApState::kOn:
      text.append(layout_label_value("Wi-Fi AP:", "ON", layout));
      if (const std::optional<std::vector<std::string>> names = wifi_ssid_list();
          names && !names->empty()) {
        text.append("\n");
        text.append(layout_wrap("SSID:", layout.chars_per_line));
        for (const std::string& name : *names) {
          text.append("\n");
          text.append(layout_wrap_value(name, layout.chars_per_line));
        }
      }
      break;
  }
  return layout_finish(layout, text.str(), kLongTextCapacity);
}

}  // namespace tavio
