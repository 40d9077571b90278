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
  JsonArrayBuilder choices;
  for (const std::string& media : port_media_choices(port)) {
    choices.text(media);
  }
  return choices.done();
}

// Port speed
//   LAN (read only), one entry per Ethernet WAN port
JsonPtr port_speed_submenu(const WanStatusList* wans, const PanelLayout& layout) {
  JsonArrayBuilder items;
  items.add(menu_item_poll(item::kLanPortSpeed.name, "LAN", item::kLanPortSpeed.name));
  if (wans != nullptr) {
    for (const WanStatus& wan : wans->items) {
      // Cellular and other links have no speed to set.
      if (get_physical_type_ex(get_conn_port_id(wan.id), 0) != kEthernet) {
        continue;
      }
      const std::string id = format_item_id(item::kWanPortSpeed, {wan.id, ""});
      const std::string hint = format_text(kHintCapacity, "%s speed?", wan.name.c_str());
      items.add(menu_item_entry(id.c_str(), wan.name.c_str(), MenuAccess::kReadWrite, id.c_str(),
                                kPollSeconds, hint.c_str(), media_choices(wan.id)));
    }
  }
  items.add(menu_item_separator(layout.chars_per_line));
  return JsonObjectBuilder()
      .text("id", "port_speed_main")
      .text("t", "Port speed")
      .take("m", items.done())
      .done();
}

// A question the panel asks before it writes key; the first choice is the harmless one.
JsonPtr confirmation(const ItemKey& key, const char* title, const char* hint, MenuAccess access,
                     const char* first, const char* second) {
  return menu_item_choice(key.name, title, hint, access, key.name, first, second);
}

}  // namespace

JsonPtr maintenance_menu(const WanStatusList* wans, const PanelLayout& layout) {
  JsonArrayBuilder items;
  items.add(port_speed_submenu(wans, layout));
  const MenuAccess write = MenuAccess::kWrite;
  items.add(confirmation(item::kReboot, "Reboot", "Reboot?", write, "No", "Yes"));
  items.add(confirmation(item::kResetAdminPassword, "Reset Admin Password", "Reset to \"pilot\"?",
                         write, "No", "Yes"));
  items.add(confirmation(item::kRestoreFactory, "Factory defaults", "Factory defaults?", write,
                         "No", "Yes"));
  items.add(confirmation(item::kRemoteAssist, "Remote Assistance", "Remote Assistance?",
                         MenuAccess::kReadWrite, "Off", "On"));
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_sized_submenu("maintenance_main", "Maintenance", items.done(), layout);
}

}  // namespace tavio
