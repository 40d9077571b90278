// Remote assistance: the router's support access, read and switched through the local API.
#ifndef TAVIO_SETTINGS_REMOTE_ASSIST_H
#define TAVIO_SETTINGS_REMOTE_ASSIST_H

#include <optional>
#include <string>

namespace tavio {

/// "On" while remote assistance is on; nothing otherwise, so the panel shows an empty value
/// while it is off (this read never gives "Off").
[[nodiscard]] std::optional<std::string> remote_assist_get();
/// Switches remote assistance; "On" or "Off" as the router reports it afterwards, nothing
/// when the post fails or the reply does not say.
[[nodiscard]] std::optional<std::string> set_remote_assist(bool on);

}  // namespace tavio

#endif
