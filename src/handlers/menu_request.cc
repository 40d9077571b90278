#include "handlers/menu_request.h"

#include <cstdio>
#include <cstring>

#include "menus/main_menu.h"
#include "menus/sign_in_menu.h"
#include "panel/display_prefs.h"
#include "power/external_power.h"
#include "power/unit_menus.h"
#include "protocol/item_ids.h"
#include "protocol/json_build.h"
#include "protocol/json_get.h"
#include "protocol/menu_items.h"

namespace tavio {
namespace {

struct NamedMenu {
  const char* name;
  JsonPtr (*build)(bool signed_in, const PanelLayout& layout);
};

JsonPtr battery_menu(bool /*signed_in*/, const PanelLayout& layout) {
  return battery_menu_items(layout);
}
JsonPtr pdu_menu(bool /*signed_in*/, const PanelLayout& layout) {
  return power_menu_pdu_items(layout);
}
JsonPtr pmu_menu(bool /*signed_in*/, const PanelLayout& layout) {
  return power_menu_pmu_items(layout);
}

// Compared exactly, in this order.
const NamedMenu kNamedMenus[] = {
    {menu_name::kBattery, battery_menu},
    {menu_name::kMain, main_menu_items},
    {menu_name::kPdu, pdu_menu},
    {menu_name::kPmu, pmu_menu},
};

// The home menu of the panel type: the External panel signs in first when it must.
JsonPtr home_menu(const Exchange& exchange, const PanelLayout& layout) {
  if (exchange.panel_type == PanelType::kPower) {
    return power_consumption_menu_items(layout);
  }
  if (exchange.must_sign_in()) {
    return panel_sign_in_menu(layout);
  }
  return panel_top_menu(exchange.signed_in(), layout);
}

// {"menu": menu} with the passcode keypad's inputs while the panel must sign in, and the
// name of the menu when the request gave one.
JsonPtr menu_body(JsonPtr menu, const Exchange& exchange, const char* ref) {
  JsonObjectBuilder body;
  body.take("menu", std::move(menu));
  if (exchange.must_sign_in()) {
    body.take("it", keyset_input_list());
  }
  if (ref[0] != '\0') {
    body.text("ref", ref);
  }
  return body.done();
}

}  // namespace

JsonPtr panel_top_menu(bool signed_in, const PanelLayout& layout) {
  if (layout.theme_mode != ThemeMode::kAlternative) {
    return main_menu_items(signed_in, layout);
  }
  JsonArrayBuilder menu;
  dashboard_items(menu, layout);
  menu.add(JsonObjectBuilder()
               .text("id", "main_menu")
               .text("t", "[MENU]")
               .take("m", main_menu_items(signed_in, layout))
               .done());
  return menu.add(menu_item_separator(layout.chars_per_line)).done();
}

JsonPtr menu_by_name(const char* name, bool signed_in, const PanelLayout& layout) {
  for (const NamedMenu& named : kNamedMenus) {
    if (std::strcmp(name, named.name) == 0) {
      return named.build(signed_in, layout);
    }
  }
  return nullptr;
}

JsonPtr handle_menu_request(const json_t* req, const Exchange& exchange) {
  if (req == nullptr) {
    return nullptr;
  }
  const json_t* panel = json_object_get(req, "panel");
  if (panel == nullptr) {
    std::puts("Error: No panel obj");
    return nullptr;
  }
  std::int32_t font_size = jget_int(panel, "font_pref", 0);
  if (font_size == 0) {
    font_size = target_font_size();
  }
  const json_t* fonts = json_object_get(panel, "font");
  if (!json_is_array(fonts)) {
    std::puts("Error: No font (list) obj");
    return nullptr;
  }
  // Every menu request records the panel's theme, even one that fails below; a panel without
  // a theme file keeps none.
  const char* theme = jget_string(panel, "theme", "");
  const char* serial = exchange.serial.c_str();
  static_cast<void>(save_theme_setting(serial, theme));
  const ThemeMode theme_mode =
      exchange.alternative_theme_allowed && std::strcmp(theme, kAlternativeThemeName) == 0
          ? ThemeMode::kAlternative
          : ThemeMode::kDefault;
  // The grid is saved for the value reads that follow; one that cannot be saved is answered
  // like one the table does not have.
  const std::optional<FontGrid> grid = find_font_grid(fonts, font_size);
  if (!grid || !save_font_grid(serial, *grid)) {
    std::puts("Error: Cannot scan matching display parameters");
    return nullptr;
  }
  const char* ref = jget_string(req, "ref", "");
  const PanelLayout layout =
      make_panel_layout(theme_mode, font_size, grid->chars_per_line, grid->lines);
  const bool named = ref[0] != '\0' && std::strcmp(ref, menu_name::kHome) != 0;
  JsonPtr menu =
      named ? menu_by_name(ref, exchange.signed_in(), layout) : home_menu(exchange, layout);
  if (!menu) {
    return nullptr;
  }
  return JsonObjectBuilder()
      .text("type", "menuReq")
      .take("resp", menu_body(std::move(menu), exchange, ref))
      .done();
}

JsonPtr build_menu_update(const Exchange& exchange, const char* text) {
  const PanelLayout& layout = exchange.layout;
  JsonPtr menu = (text != nullptr && text[0] != '\0') ? menu_item_custom_content(text, layout)
                                                      : home_menu(exchange, layout);
  if (!menu) {
    std::puts("Error: No menu");
    return nullptr;
  }
  return JsonObjectBuilder()
      .text("type", "menuUpdate")
      .take("req", menu_body(std::move(menu), exchange, ""))
      .done();
}

}  // namespace tavio
