#include "menus/system_status_menu.h"

#include <optional>
#include <string>
#include <utility>

#include "layout/panel_text.h"
#include "protocol/item_ids.h"
#include "protocol/json_build.h"
#include "protocol/menu_items.h"
#include "status/lan_ha_status.h"
#include "status/port_status.h"
#include "status/system_info.h"
#include "status/vpn_status.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

// The clock changes every second but is read less often than the status figures.
constexpr int kClockTtl = 30;
// The router keeps this text in a 64-byte buffer: on a narrow grid the wrapped text is cut
// there, as the panel has always shown it.
constexpr std::size_t kVpnDisabledCapacity = 64;

using Text = std::optional<std::string>;

// A text item of one identity field, left out when the field is empty.
JsonPtr identity_item(const char* id, const char* title, const Text& text,
                      const PanelLayout& layout) {
  return text ? menu_item_text(id, title, text->c_str(), layout) : nullptr;
}

// An entry whose id and key are both the family's identifier for the record's id.
JsonPtr numbered_entry(const ItemKey& family, int id, const std::string& title) {
  const std::string key = format_item_id(family, {id, ""});
  return menu_item_poll(key.c_str(), title.c_str(), key.c_str());
}

// System
//   Firmware version, Device name, Hardware revision, Serial number  (texts)
//   System time, System up time, CPU Load                            (entries)
JsonPtr system_submenu(const PanelLayout& layout) {
  JsonArrayBuilder items;
  const std::optional<DeviceInfo> info = device_info_collect();
  const DeviceInfo* device = info ? &*info : nullptr;
  items.add(
      identity_item("system_fw", "Firmware version", render_firmware(device, layout), layout));
  items.add(identity_item("system_device_name", "Device name", render_device_name(device, layout),
                          layout));
  items.add(identity_item("system_hw_ver", "Hardware revision",
                          render_hardware_revision(device, layout), layout));
  items.add(
      identity_item("system_sn", "Serial number", render_serial_number(device, layout), layout));
  items.add(menu_item_poll("system_time", "System time", item::kSystemTime.name, kClockTtl));
  items.add(menu_item_poll("system_uptime", "System up time", item::kUptime.name));
  items.add(menu_item_poll("system_cpuload", "CPU Load", item::kCpuLoad.name));
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_submenu("system_sub", "System", items.done());
}

// LAN
//   Port 1 ... Port N  (the listed LAN ports), IP Address
JsonPtr lan_submenu(const PanelLayout& layout) {
  JsonArrayBuilder items;
  if (const std::optional<PortStatusList> ports = port_status_collect(std::nullopt)) {
    for (const PortStatus& port : ports->items) {
      if (!port.name.empty()) {
        items.add(numbered_entry(item::kLanPortStatus, port.id, port.name));
      }
    }
  }
  items.add(menu_item_poll("system_lan_ip", "IP Address", item::kLanIp.name));
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_submenu("lan_status_main", "LAN", items.done());
}

// WAN
//   one entry per enabled connection, titled with its name
JsonPtr wan_submenu(const WanStatusList* wans, const PanelLayout& layout) {
  JsonArrayBuilder items;
  if (wans != nullptr) {
    for (const WanStatus& wan : wans->items) {
      items.add(numbered_entry(item::kWanStatus, wan.id, wan.name));
    }
  }
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_submenu("wan_status_main", "WAN", items.done());
}

// VPN
//   one entry per profile with a name and a link state; "VPN Disabled" without the service
JsonPtr vpn_submenu(const PanelLayout& layout) {
  JsonArrayBuilder items;
  if (const std::optional<VpnStatusList> vpns = vpn_status_collect()) {
    for (const VpnStatus& vpn : vpns->items) {
      if (!vpn.name.empty()) {  // a link state nobody knows is listed all the same
        items.add(numbered_entry(item::kVpnStatus, vpn.id, vpn.name));
      }
    }
    items.add(menu_item_separator(layout.chars_per_line));
  } else {
    const std::string text =
        cut_text(layout_wrap("VPN Disabled", layout.chars_per_line), kVpnDisabledCapacity);
    items.add(JsonObjectBuilder().text("id", "vpn_status_disable").text("st", text).done());
  }
  return menu_item_submenu("vpn_status_main", "VPN", items.done());
}

// Bandwidth
//   Throughput in, Throughput out, Data transfer'd
JsonPtr bandwidth_submenu(const PanelLayout& layout) {
  JsonArrayBuilder items;
  for (const auto& [key, title] : {std::pair{item::kThroughputIn, "Throughput in"},
                                   std::pair{item::kThroughputOut, "Throughput out"},
                                   std::pair{item::kDataTransfer, "Data transfer'd"}}) {
    items.add(menu_item_poll(key.name, title, key.name));
  }
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_submenu("bw_main", "Bandwidth", items.done());
}

}  // namespace

JsonPtr build_system_status_menu(const WanStatusList* wans, const PanelLayout& layout) {
  JsonArrayBuilder items;
  items.add(system_submenu(layout));
  items.add(lan_submenu(layout));
  items.add(wan_submenu(wans, layout));
  items.add(vpn_submenu(layout));
  items.add(bandwidth_submenu(layout));
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_sized_submenu("system_main", "System status", items.done(), layout);
}

JsonPtr build_ha_status_item(const PanelLayout& layout) {
  const std::optional<std::string> title = ha_state_title();
  if (!title || title->empty()) {
    return nullptr;
  }
  return JsonObjectBuilder()
      .text("id", "ha_main")
      .text("t", *title)
      .integer("sz", layout.font_size)
      .take("c", JsonObjectBuilder()
                     .text("qt", "poll")
                     .text("a", menu_access_word(MenuAccess::kRead))
                     .integer("ttl", kPollSeconds)
                     .text("k", item::kHaStatus.name)
                     .done())
      .done();
}

}  // namespace tavio
