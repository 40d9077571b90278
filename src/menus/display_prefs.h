// Each panel's display preferences, kept per panel serial in the run directory: the theme
// (a taglist file) and the font grid (a JSON document), so that runs without a menu request
// lay text out the way the panel last asked for.
#ifndef TAVIO_MENUS_DISPLAY_PREFS_H
#define TAVIO_MENUS_DISPLAY_PREFS_H

#include <jansson.h>

#include <cstdint>

#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"

namespace tavio {

/// kAlternative when the panel's saved theme is exactly "google", else kDefault (also with
/// no file).
[[nodiscard]] ThemeMode load_theme_mode(const char* serial);
/// mode when the panel's saved theme agrees with it, else kDefault.
[[nodiscard]] ThemeMode narrow_theme_mode(const char* serial, ThemeMode mode);
/// Stores the display's theme string in the panel's existing theme file; always 1.
int save_theme_setting(const char* serial, const char* theme);
/// The font size to use when the display names none (default 2).
[[nodiscard]] int target_font_size();
/// Finds font_size in the display's font table, saves that grid for the panel and gives its
/// characters per line and lines; 0 when nothing matches or the file cannot be written.
int match_font_settings(const json_t* font_table, const char* serial, std::int32_t font_size,
                        std::int32_t* chars_per_line, std::int32_t* lines);
/// The panel's saved grid in the default theme; the default grid without a file; the grid
/// of unreadable when the file lacks a figure.
[[nodiscard]] PanelLayout load_font_settings(const char* serial,
                                             const PanelLayout& unreadable = PanelLayout{});
/// The passcode keypad's inputs: [{"tp": "ks", "cl": ["0123456789ABCDEF"]}], one key set of
/// the sixteen hexadecimal digits.
[[nodiscard]] JsonPtr keyset_input_list();

}  // namespace tavio

#endif
