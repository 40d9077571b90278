#include "handlers/menu_request.h"

namespace tavio {

JsonPtr handle_menu_request(const json_t* /*req*/, const Exchange& /*exchange*/) { return nullptr; }

JsonPtr build_menu_update(const Exchange& /*exchange*/, const char* /*text*/) { return nullptr; }

}  // namespace tavio
