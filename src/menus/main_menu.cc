#include "menus/main_menu.h"

#include <optional>
#include <string>
#include <vector>

#include "layout/panel_text.h"
#include "menus/maintenance_menu.h"
#include "menus/system_status_menu.h"
#include "power/unit_menus.h"
#include "protocol/item_ids.h"
#include "protocol/json_build.h"
#include "protocol/menu_items.h"
#include "status/system_info.h"
#include "status/vpn_status.h"
#include "status/wan_status.h"
#include "status/wifi_status.h"
#include "text/text_buffer.h"
#include "text/utf8.h"

namespace tavio {
namespace {

// Room the display keeps on a dashboard line for its own marks.
constexpr int kDashboardMargin = 3;

// Collects a group's lines and entries, and whether the lines would fit side by side.
class GroupBuilder {
 public:
  explicit GroupBuilder(const PanelLayout& layout)
      : width_(layout.chars_per_line - kDashboardMargin), separator_width_(layout.chars_per_line) {}

  void add(const std::string& line, bool up, const std::string& entry_id, const char* title,
           const std::string& key) {
    listed_ = true;
    JsonObjectBuilder text;
    text.text("t", line);
    if (up) {
      text.text("is", "on");
    }
    lines_.add(text.done());
    submenu_.add(menu_item_poll(entry_id.c_str(), title, key.c_str()));
    total_ += (total_ > 0 ? 1 : 0) + static_cast<long long>(utf8_length(line));
  }

  // Lines too long to share one panel line get a blank line of their own after them; the
  // entries end with a separator.
  DashboardGroup finish() {
    if (!listed_) {
      return {};
    }
    if (width_ < total_) {
      lines_.add(JsonObjectBuilder().text("t", layout_spaces(width_)).done());
    }
    submenu_.add(menu_item_separator(separator_width_));
    return {lines_.done(), submenu_.done()};
  }

 private:
  int width_;
  int separator_width_;
  long long total_ = 0;
  bool listed_ = false;
  JsonArrayBuilder lines_;
  JsonArrayBuilder submenu_;
};

// {"id": id, "i": {"il": lines, "m": entries and a separator}}, when the group has lines.
JsonPtr group_item(const char* id, DashboardGroup group) {
  if (!group.lines || !group.submenu) {
    return nullptr;
  }
  return JsonObjectBuilder()
      .text("id", id)
      .take("i", JsonObjectBuilder()
                     .take("il", std::move(group.lines))
                     .take("m", std::move(group.submenu))
                     .done())
      .done();
}

// "SSID: Office Guest" while the access point is on, "Wi-Fi AP: OFF" while it is off.
JsonPtr wifi_dashboard_item() {
  std::string title;
  switch (wifi_ap_support()) {
    case WifiApState::kOn: {
      TextBuffer text(kLongTextCapacity);
      text.append("SSID: ");
      if (const std::optional<std::vector<std::string>> names = wifi_ssid_list()) {
        for (std::size_t i = 0; i < names->size(); ++i) {
          text.append(i == 0 ? "" : " ");
          text.append((*names)[i]);
        }
      }
      title = text.str();
      break;
    }
    case WifiApState::kOff:
      title = "Wi-Fi AP: OFF";
      break;
    case WifiApState::kUnsupported:
      return nullptr;
  }
  return menu_item_poll("wifi_ap_dashboard", title.c_str(), item::kWifiAp.name);
}

// The device's name as the title over its laid-out "Device name:" text.
JsonPtr device_name_dashboard_item(const PanelLayout& layout) {
  const std::optional<std::string> name = device_name_get();
  if (!name) {
    return nullptr;
  }
  const std::optional<DeviceInfo> info = device_info_collect();
  const std::optional<std::string> text = render_device_name(info ? &*info : nullptr, layout);
  if (!text) {
    return nullptr;
  }
  return menu_item_text("device_name_dashboard", name->c_str(), text->c_str(), layout);
}

// Lock screen?  Yes / No
JsonPtr lock_screen_item() {
  const char* key = item::kPanelLogout.name;
  return menu_item_choice(key, "Lock screen", "Lock screen?", MenuAccess::kWrite, key, "Yes", "No");
}

}  // namespace

DashboardGroup wan_dashboard_group(const PanelLayout& layout, bool cellular) {
  GroupBuilder group(layout);
  const std::optional<WanStatusList> wans = wan_status_collect(std::nullopt);
  if (wans) {
    for (const WanStatus& wan : wans->items) {
      if (wan.name.empty() || (wan.type == "gobi") != cellular) {
        continue;
      }
      group.add(wan.name, wan.message.find("Connected") != std::string::npos,
                format_text(kItemIdCapacity, "dash_wan_status_%d", wan.id), wan.name.c_str(),
                format_item_id(item::kWanStatus, {wan.id, ""}));
    }
  }
  return group.finish();
}

DashboardGroup vpn_dashboard_group(const PanelLayout& layout) {
  GroupBuilder group(layout);
  const std::optional<VpnStatusList> vpns = vpn_status_collect();
  if (vpns) {
    for (const VpnStatus& vpn : vpns->items) {
      if (vpn.name.empty()) {
        continue;
      }
      group.add(format_text(kTextCapacity, "%s: %s", vpn.name.c_str(),
                            vpn.secure ? "SECURED" : "NOT SECURED"),
                vpn.state.find("ESTABLISHED") != std::string::npos,
                format_text(kItemIdCapacity, "dash_vpn_status_%d", vpn.id), vpn.name.c_str(),
                format_item_id(item::kVpnStatus, {vpn.id, ""}));
    }
  }
  return group.finish();
}

void dashboard_items(JsonArrayBuilder& menu, const PanelLayout& layout) {
  menu.add(group_item("wan_info_dashboard", wan_dashboard_group(layout, false)))
      .add(group_item("cellular_wan_info_dashboard", wan_dashboard_group(layout, true)))
      .add(group_item("vpn_info_dashboard", vpn_dashboard_group(layout)))
      .add(wifi_dashboard_item())
      .add(device_name_dashboard_item(layout));
}

JsonPtr main_menu_items(bool signed_in, const PanelLayout& layout) {
  const std::optional<WanStatusList> wans = wan_status_collect(std::nullopt);
  const WanStatusList* wan_list = wans ? &*wans : nullptr;
  JsonArrayBuilder menu;
  menu.add(build_ha_status_item(layout))
      .add(build_system_status_menu(wan_list, layout))
      .add(power_menu_main(layout))
      .add(maintenance_menu(wan_list, layout));
  if (signed_in) {
    menu.add(lock_screen_item());
  }
  return menu.add(menu_item_separator(layout.chars_per_line)).done();
}

}  // namespace tavio
