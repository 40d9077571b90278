// Texts that come from outside tavio (the -s panel serial, identifiers the panel sends back,
// serials a device reports) on their way into a tool's arguments or a file name. Every such
// text passes here, so none can change what a command does or where a file lands.
#ifndef TAVIO_SOURCES_OUTSIDE_TEXT_H
#define TAVIO_SOURCES_OUTSIDE_TEXT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/router_support.h"

namespace tavio {

/// Whether an outside text may reach a tool as one argument with room for limit characters.
/// Refused: a text that begins with "-" (a tool would take it for an option), and one longer
/// than its room (the router's fixed command buffer would have cut it); such a command runs
/// nothing, never a cut one. Each caller names its argument's room and says where it comes
/// from.
[[nodiscard]] bool outside_argument_fits(std::string_view text, std::size_t limit);
/// The panel's taglist file of format ("%s" the serial); nothing when the serial cannot name
/// a file or the file does not load.
[[nodiscard]] TaglistPtr load_panel_taglist(const char* format, const char* serial);
/// One of the router's per-panel file paths: format's "%s" replaced by the serial, cut to the
/// path capacity. Nothing for a serial with "/", which could lead the name out of its folder.
[[nodiscard]] std::optional<std::string> panel_file_path(const char* format, const char* serial);

}  // namespace tavio

#endif
