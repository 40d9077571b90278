// Texts that come from outside tavio (the -s panel serial, identifiers the panel sends back,
// serials a device reports) on their way into a shell command line or a file name. Every such
// text passes here, so none can change what a command does or where a file lands.
#ifndef TAVIO_PLATFORM_OUTSIDE_TEXT_H
#define TAVIO_PLATFORM_OUTSIDE_TEXT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "platform/router_support.h"

namespace tavio {

/// True for a plain word: letters, digits and "-", "_", ".", ":", "@", "+", ",", "%", "=".
/// The shell gives such a word to a tool unchanged; "" counts as plain (no argument).
[[nodiscard]] bool is_plain_word(std::string_view text);
/// text ready to stand as one argument of a command line: a plain word as it is, anything
/// else in single quotes (a quote inside written '\''), so the tool receives it byte for byte.
[[nodiscard]] std::string shell_argument(std::string_view text);
/// A command line formed from format with one outside text as its only "%s", cut to
/// capacity - 1 characters; nothing when the quoted text would not fit whole, so a cut can
/// never open a quote.
[[nodiscard]] std::optional<std::string> command_with_argument(std::size_t capacity,
                                                               const char* format,
                                                               std::string_view text);
/// The panel's taglist file of format ("%s" the serial); nothing when the serial cannot name
/// a file or the file does not load.
[[nodiscard]] TaglistPtr load_panel_taglist(const char* format, const char* serial);
/// One of the router's per-panel file paths: format's "%s" replaced by the serial, cut to the
/// path capacity. Nothing for a serial with "/", which could lead the name out of its folder.
[[nodiscard]] std::optional<std::string> panel_file_path(const char* format, const char* serial);

}  // namespace tavio

#endif
