// Menu requests from the display, and the menu-update document tavio sends on its own.
#ifndef TAVIO_HANDLERS_MENU_REQUEST_H
#define TAVIO_HANDLERS_MENU_REQUEST_H

#include <jansson.h>

#include "tavio/exchange.h"
#include "tavio/json_ref.h"

namespace tavio {

/// {"type": "menuReq", "resp": ...} for the request body req, or null.
[[nodiscard]] JsonPtr handle_menu_request(const json_t* req, const Exchange& exchange);
/// {"type": "menuUpdate", "req": ...}: the top menu, or the custom text menu; or null.
[[nodiscard]] JsonPtr build_menu_update(const Exchange& exchange, const char* text);

}  // namespace tavio

#endif
