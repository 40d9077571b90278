#include "menus/maintenance_menu.h"

#include <string>

#include "menus/system_status_menu.h"
#include "platform/router_support.h"
#include "protocol/item_ids.h"
#include "protocol/json_build.h"
#include "protocol/menu_items.h"
#include "settings/port_media.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr std::size_t kHintCapacity = 128;
constexpr int kEthernet = 1;

// The media a WAN port may be set to; gigabit only where the port can run it.
JsonPtr media_choices(int port) {
  JsonPtr choices = json_own(json_array());
  for (const std::string& media : port_media_choices(port)) {
    json_append(choices.get(), json_text_string(media));
  }
  return choices;
}

// Port speed
//   LAN (read only), one entry per Ethernet WAN port
JsonPtr port_speed_submenu(const WanStatusList* wans, const PanelLayout& layout) {
  JsonPtr items = json_own(json_array());
  json_append(items.get(),
              menu_item_poll(item::kLanPortSpeed.name, "LAN", item::kLanPortSpeed.name));
  if (wans != nullptr) {
    for (const WanStatus& wan : wans->items) {
      // Cellular and other links have no speed to set.
      if (get_physical_type_ex(get_conn_port_id(wan.id), 0) != kEthernet) {
        continue;
      }
      const std::string id = format_item_id(item::kWanPortSpeed, {wan.id, ""});
      const std::string hint = format_text(kHintCapacity, "%s speed?", wan.name.c_str());
      json_append(items.get(),
                  menu_item_entry(id.c_str(), wan.name.c_str(), MenuAccess::kReadWrite, id.c_str(),
                                  kPollSeconds, hint.c_str(), media_choices(wan.id)));
    }
  }
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return json_own(
      json_pack("{ss,ss,so}", "id", "port_speed_main", "t", "Port speed", "m", items.release()));
}

// A question the panel asks before it writes key; the first choice is the harmless one.
JsonPtr confirmation(const ItemKey& key, const char* title, const char* hint, MenuAccess access,
                     const char* first, const char* second) {
  return menu_item_choice(key.name, title, hint, access, key.name, first, second);
}

}  // namespace

JsonPtr maintenance_menu(const WanStatusList* wans, const PanelLayout& layout) {
  JsonPtr items = json_own(json_array());
  json_append(items.get(), port_speed_submenu(wans, layout));
  const MenuAccess write = MenuAccess::kWrite;
  json_append(items.get(), confirmation(item::kReboot, "Reboot", "Reboot?", write, "No", "Yes"));
  json_append(items.get(), confirmation(item::kResetAdminPassword, "Reset Admin Password",
                                        "Reset to \"pilot\"?", write, "No", "Yes"));
  json_append(items.get(), confirmation(item::kRestoreFactory, "Factory defaults",
                                        "Factory defaults?", write, "No", "Yes"));
  json_append(items.get(), confirmation(item::kRemoteAssist, "Remote Assistance",
                                        "Remote Assistance?", MenuAccess::kReadWrite, "Off", "On"));
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return json_own(json_pack("{ss,ss,si,so}", "id", "maintenance_main", "t", "Maintenance", "sz",
                            layout.font_size, "m", items.release()));
}

}  // namespace tavio
