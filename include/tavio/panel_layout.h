// The panel's character grid, handed to every renderer and menu builder.
#ifndef TAVIO_PANEL_LAYOUT_H
#define TAVIO_PANEL_LAYOUT_H

#include <cstdint>

namespace tavio {

/// The panel's themes: the default one and the alternative one (saved theme "google"),
/// which pushes short texts one line down and opens on a dashboard.
enum class ThemeMode : std::int32_t {
  kDefault = 1,
  kAlternative = 2,
};

/// A panel that never saved its font grid: font size 1, 21 characters by 4 lines.
constexpr std::int32_t kDefaultFontSize = 1;
constexpr std::int32_t kDefaultCharsPerLine = 21;
constexpr std::int32_t kDefaultLines = 4;

/// The grid a text is laid out for.
struct PanelLayout {
  ThemeMode theme_mode = ThemeMode::kDefault;
  std::int32_t font_size = kDefaultFontSize;
  std::int32_t chars_per_line = kDefaultCharsPerLine;
  std::int32_t lines = kDefaultLines;
};

/// A grid as the display's font table and theme give it; the one place the order of the four
/// fields is written.
[[nodiscard]] inline PanelLayout make_panel_layout(ThemeMode theme_mode, std::int32_t font_size,
                                                   std::int32_t chars_per_line,
                                                   std::int32_t lines) {
  return PanelLayout{theme_mode, font_size, chars_per_line, lines};
}

}  // namespace tavio

#endif
