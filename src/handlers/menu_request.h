// Menu requests from the display, and the menu-update document tavio sends on its own.
#ifndef TAVIO_HANDLERS_MENU_REQUEST_H
#define TAVIO_HANDLERS_MENU_REQUEST_H

#include <jansson.h>

#include "tavio/json_ref.h"

namespace tavio {

/// {"type": "menuReq", "resp": ...} for the request body req, or null.
[[nodiscard]] JsonPtr handle_menu_request(const json_t* req, const char* serial, int access_state,
                                          int panel_type, int theme_mode);
/// {"type": "menuUpdate", "req": ...}: the top menu, or the custom text menu; or null.
[[nodiscard]] JsonPtr build_menu_update(const char* serial, int access_state, int panel_type,
                                        const char* text, int theme_mode);

}  // namespace tavio

#endif
