#include "handlers/menu_request.h"

namespace tavio {

// The menus are not served yet: the exchange reports that it has no document to write.
JsonPtr handle_menu_request(const json_t* /*req*/, const char* /*serial*/, int /*access_state*/,
                            int /*panel_type*/, int /*theme_mode*/) {
  return nullptr;
}

JsonPtr build_menu_update(const char* /*serial*/, int /*access_state*/, int /*panel_type*/,
                          const char* /*text*/, int /*theme_mode*/) {
  return nullptr;
}

}  // namespace tavio
