// The panel's character grid, handed to every renderer and menu builder.
#ifndef TAVIO_PANEL_LAYOUT_H
#define TAVIO_PANEL_LAYOUT_H

#include <cstdint>

namespace tavio {

/// Theme modes: the default theme and the alternative one (settings value "google").
constexpr std::int32_t kThemeDefault = 1;
constexpr std::int32_t kThemeAlternative = 2;

/// The grid a text is laid out for.
struct PanelLayout {
  std::int32_t theme_mode = kThemeDefault;
  std::int32_t font_size = 1;
  std::int32_t chars_per_line = 21;
  std::int32_t lines = 4;
};

/// Fills the four fields in order and returns the record.
inline PanelLayout& make_panel_layout(PanelLayout& layout, std::int32_t theme_mode,
                                      std::int32_t font_size, std::int32_t chars_per_line,
                                      std::int32_t lines) {
  layout.theme_mode = theme_mode;
  layout.font_size = font_size;
  layout.chars_per_line = chars_per_line;
  layout.lines = lines;
  return layout;
}

}  // namespace tavio

#endif
