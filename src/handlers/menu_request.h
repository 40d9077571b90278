// Menu requests from the display, and the menu-update document tavio sends on its own.
#ifndef TAVIO_HANDLERS_MENU_REQUEST_H
#define TAVIO_HANDLERS_MENU_REQUEST_H

#include <jansson.h>

#include "tavio/exchange.h"
#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"

namespace tavio {

/// {"type": "menuReq", "resp": ...} for the request body req, laid out by the request's own
/// font table and theme; null (with an "Error: " line for a malformed panel) otherwise.
[[nodiscard]] JsonPtr handle_menu_request(const json_t* req, const Exchange& exchange);
/// {"type": "menuUpdate", "req": ...}: the custom text menu for a non-empty text, else the
/// panel's home menu; null after "Error: No menu".
[[nodiscard]] JsonPtr build_menu_update(const Exchange& exchange, const char* text);
/// The External panel's home: the main menu, or in the alternative theme the dashboard with
/// the main menu behind "[MENU]".
[[nodiscard]] JsonPtr panel_top_menu(bool signed_in, const PanelLayout& layout);
/// The menu a request names in "ref"; null for a name no menu answers to. A named menu is
/// built whatever the sign-in state: the lock is the panel's screen lock, which the display
/// process enforces by asking only for the home menu until the panel signs in.
[[nodiscard]] JsonPtr menu_by_name(const char* name, bool signed_in, const PanelLayout& layout);

}  // namespace tavio

#endif
