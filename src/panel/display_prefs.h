// Each panel's display preferences, kept per panel serial in the run directory: the theme
// (a taglist file) and the font grid (a JSON document), so that runs without a menu request
// lay text out the way the panel last asked for.
#ifndef TAVIO_PANEL_DISPLAY_PREFS_H
#define TAVIO_PANEL_DISPLAY_PREFS_H

#include <jansson.h>

#include <cstdint>
#include <optional>

#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"

namespace tavio {

/// The display's name of the alternative theme.
constexpr char kAlternativeThemeName[] = "google";

/// kAlternative when the panel's saved theme is exactly "google", else kDefault (also with
/// no file).
[[nodiscard]] ThemeMode load_theme_mode(const char* serial);
/// Stores the display's theme string in the panel's theme file; false when the panel has no
/// theme file (the router creates it; tavio never does) or it cannot be written.
bool save_theme_setting(const char* serial, const char* theme);
/// The font size to use when the display names none (default 2).
[[nodiscard]] int target_font_size();

/// The panel's character grid at one font size, as the display's font table lists it.
struct FontGrid {
  std::int32_t font_size = 0;
  std::int32_t lines = 0;
  std::int32_t chars_per_line = 0;
};
/// The first entry of the display's font table for font_size with all three figures set;
/// nothing when none matches.
[[nodiscard]] std::optional<FontGrid> find_font_grid(const json_t* font_table,
                                                     std::int32_t font_size);
/// Saves grid as the panel's font settings, so that runs without a menu request lay text out
/// the same way; false when the file cannot be written.
[[nodiscard]] bool save_font_grid(const char* serial, const FontGrid& grid);
/// The panel's saved grid in the default theme; the default grid without a file; the grid
/// of unreadable when the file lacks a figure.
[[nodiscard]] PanelLayout load_font_settings(const char* serial,
                                             const PanelLayout& unreadable = PanelLayout{});

}  // namespace tavio

#endif
