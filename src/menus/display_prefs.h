// Each panel's display preferences, kept per panel serial in the run directory: the theme
// (a taglist file) and the font grid (a JSON document), so that runs without a menu request
// lay text out the way the panel last asked for.
#ifndef TAVIO_MENUS_DISPLAY_PREFS_H
#define TAVIO_MENUS_DISPLAY_PREFS_H

#include <jansson.h>

#include <cstdint>

#include "tavio/json_ref.h"

namespace tavio {

/// 2 when the panel's saved theme is exactly "google", else 1 (also with no file).
[[nodiscard]] int load_theme_mode(const char* serial);
/// The theme mode a value read uses: mode when the saved theme agrees with it, else 1.
[[nodiscard]] int value_read_theme_mode(const char* serial, int mode);
/// Stores the display's theme string in the panel's existing theme file; always 1.
int save_theme_setting(const char* serial, const char* theme);
/// The font size to use when the display names none (default 2).
[[nodiscard]] int target_font_size();
/// Finds font_size in the display's font table, saves that grid for the panel and gives its
/// characters per line and lines; 0 when nothing matches or the file cannot be written.
int match_font_settings(const json_t* font_table, const char* serial, std::int32_t font_size,
                        std::int32_t* chars_per_line, std::int32_t* lines);
/// The panel's saved grid; 1/4/21 without a file; the outputs stay as they were when the file
/// lacks a figure. Always 1.
int load_font_settings(const char* serial, std::int32_t* lines, std::int32_t* size,
                       std::int32_t* chars_per_line);
/// The passcode keypad's input description: [{"tp": "ks", "cl": ["0123456789ABCDEF"]}].
[[nodiscard]] JsonPtr keyset_input_spec();

}  // namespace tavio

#endif
