// The media (speed and duplex) of the router's Ethernet ports: read from the running
// configuration, written to the configuration to activate, and the choices a port offers.
#ifndef TAVIO_SETTINGS_PORT_MEDIA_H
#define TAVIO_SETTINGS_PORT_MEDIA_H

#include <optional>
#include <string>
#include <vector>

namespace tavio {

/// The configured media of port (0 is the LAN), "Auto" when unset; nothing when the
/// configuration cannot be read or the port is negative.
[[nodiscard]] std::optional<std::string> port_media_get(int port);
/// The media port may be set to, as the panel lists them: gigabit first, and only where the
/// port can run it.
[[nodiscard]] std::vector<std::string> port_media_choices(int port);
/// Sets port's media: value when it is set (at once when it already runs, otherwise written
/// to config.active and activated in the background), nothing when refused.
[[nodiscard]] std::optional<std::string> set_port_media(int port, const char* value);

}  // namespace tavio

#endif
