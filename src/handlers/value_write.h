// Value writes: the actions the panel's user chose, each answered with a status and, for
// some, a message laid out for the panel.
#ifndef TAVIO_HANDLERS_VALUE_WRITE_H
#define TAVIO_HANDLERS_VALUE_WRITE_H

#include <jansson.h>

#include <optional>
#include <string>

#include "tavio/exchange.h"
#include "tavio/json_ref.h"

namespace tavio {

/// {"type": "valueWrite", "resp": {"list": [...]}} for the request body req, or null.
[[nodiscard]] JsonPtr handle_value_write(const json_t* req, const Exchange& exchange);
/// Performs one written item and answers it: {"k", "v", "status"} and, where due, "msg" and
/// "action_status". Null only for an empty identifier.
[[nodiscard]] JsonPtr perform_value_action(const Exchange& exchange, const char* identifier,
                                           const char* value);
/// Sets the media of port (0 the LAN, N WAN port N) in config.active and activates it; the
/// value on success (also when config.run already holds it: then nothing is written), nothing
/// when refused.
[[nodiscard]] std::optional<std::string> set_port_media(int port, const char* value);
/// Switches remote assistance; "On" or "Off" as the router reports it afterwards, or nothing.
[[nodiscard]] std::optional<std::string> set_remote_assist(bool on);
/// Asks the display process, in the background, to reload the panel's screens; false when
/// the serial is refused as an argument or nothing could be started.
bool panel_reload(const std::string& serial);

}  // namespace tavio

#endif
