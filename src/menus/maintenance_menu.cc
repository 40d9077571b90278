#include "menus/maintenance_menu.h"

#include <string>

#include "layout/menu_items.h"
#include "menus/system_status_menu.h"
#include "platform/router_support.h"
#include "platform/text_buffer.h"
#include "status/port_status.h"

namespace tavio {
namespace {

constexpr std::size_t kHintCapacity = 128;
constexpr int kEthernet = 1;
constexpr int kGigabit = 1000;

// The media a WAN port may be set to; gigabit only where the port can run it.
JsonPtr media_choices(int port) {
  JsonPtr choices = json_own(json_array());
  if (interface_max_speed(port) == kGigabit) {
    json_array_append_new(choices.get(), json_string("1000baseTx-FD"));
  }
  for (const char* media : {"100baseTx-HD", "100baseTx-FD", "10baseT-HD", "10baseT-FD", "Auto"}) {
    json_array_append_new(choices.get(), json_string(media));
  }
  return choices;
}

// Port speed
//   LAN (read only), one entry per Ethernet WAN port
JsonPtr port_speed_submenu(const WanStatusList* wans, const PanelLayout& layout) {
  JsonPtr items = json_own(json_array());
  json_append(items.get(), menu_item_poll("lan_port_speed", "LAN", "lan_port_speed", kStatusTtl));
  if (wans != nullptr) {
    for (const WanStatus& wan : wans->items) {
      // Cellular and other links have no speed to set.
      if (get_physical_type_ex(get_conn_port_id(wan.id), 0) != kEthernet) {
        continue;
      }
      const std::string id = format_text(kItemIdCapacity, "wan_port_speed_%d", wan.id);
      const std::string hint = format_text(kHintCapacity, "%s speed?", wan.name.c_str());
      json_append(items.get(),
                  menu_item_entry(id.c_str(), wan.name.c_str(), "poll", "rw", id.c_str(),
                                  kStatusTtl, hint.c_str(), media_choices(wan.id)));
    }
  }
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return json_own(
      json_pack("{ss,ss,so}", "id", "port_speed_main", "t", "Port speed", "m", items.release()));
}

// A question the panel asks before it writes key; the first choice is the harmless one.
JsonPtr confirmation(const char* id, const char* title, const char* hint, const char* access,
                     const char* first, const char* second) {
  return json_own(json_pack("{ss,ss,s{ss,ss,ss,s[ss]}}", "id", id, "t", title, "c", "ht", hint, "a",
                            access, "k", id, "select", first, second));
}

}  // namespace

JsonPtr maintenance_menu(const WanStatusList* wans, const PanelLayout& layout) {
  JsonPtr items = json_own(json_array());
  json_append(items.get(), port_speed_submenu(wans, layout));
  json_append(items.get(), confirmation("reboot", "Reboot", "Reboot?", "w", "No", "Yes"));
  json_append(items.get(), confirmation("reset_admin_pwd", "Reset Admin Password",
                                        "Reset to \"pilot\"?", "w", "No", "Yes"));
  json_append(items.get(), confirmation("restore_factory", "Factory defaults", "Factory defaults?",
                                        "w", "No", "Yes"));
  json_append(items.get(), confirmation("remote_assist", "Remote Assistance", "Remote Assistance?",
                                        "rw", "Off", "On"));
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return json_own(json_pack("{ss,ss,si,so}", "id", "maintenance_main", "t", "Maintenance", "sz",
                            layout.font_size, "m", items.release()));
}

}  // namespace tavio
