#include "panel/display_prefs.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "platform/os.h"
#include "platform/router_paths.h"
#include "platform/router_support.h"
#include "protocol/json_build.h"
#include "protocol/json_get.h"
#include "protocol/json_read.h"
#include "sources/outside_text.h"
#include "tavio/panel_layout.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr int kDefaultTargetFontSize = 2;
// A saved grid is three small numbers; anything much larger is no grid tavio saved.
constexpr std::size_t kFontSettingsMaxBytes = 4096;

std::optional<HostPath> font_file(const char* serial) {
  const std::optional<std::string> path = panel_file_path(kFontSettingsFormat, serial);
  if (!path) {
    return std::nullopt;
  }
  return HostPath::system(*path);
}

}  // namespace

ThemeMode load_theme_mode(const char* serial) {
  const TaglistPtr settings = load_panel_taglist(kThemeSettingsFormat, serial);
  if (!settings) {
    return ThemeMode::kDefault;
  }
  const std::string theme = get_taglist_default_ex(settings.get(), "", "SUPPORT_THEME");
  return theme == kAlternativeThemeName ? ThemeMode::kAlternative : ThemeMode::kDefault;
}

bool save_theme_setting(const char* serial, const char* theme) {
  const TaglistPtr settings = load_panel_taglist(kThemeSettingsFormat, serial);
  return settings &&
         update_taglist_ex(settings.get(), "SUPPORT_THEME", theme == nullptr ? "" : theme) == 0 &&
         save_taglist_ex(settings.get(), 1) == 0;
}

int target_font_size() {
  const FilePtr file = open_file(HostPath::system(kTargetFontSizeFile), "r");
  int size = kDefaultTargetFontSize;
  if (file && std::fscanf(file.get(), "%d", &size) != 1) {
    size = kDefaultTargetFontSize;
  }
  return size;
}

std::optional<FontGrid> find_font_grid(const json_t* font_table, std::int32_t font_size) {
  for (std::size_t i = 0; i < json_array_size(font_table); ++i) {
    const json_t* font = json_array_get(font_table, i);
    const FontGrid grid{jget_int(font, "sz", 0), jget_int(font, "ln", 0), jget_int(font, "ch", 0)};
    if (grid.font_size != 0 && grid.lines != 0 && grid.chars_per_line != 0 &&
        grid.font_size == font_size) {
      return grid;
    }
  }
  return std::nullopt;
}

bool save_font_grid(const char* serial, const FontGrid& grid) {
  const std::optional<HostPath> path = font_file(serial);
  const JsonPtr saved = JsonObjectBuilder()
                            .integer("sz", grid.font_size)
                            .integer("ln", grid.lines)
                            .integer("ch", grid.chars_per_line)
                            .done();
  if (!path || !saved) {
    return false;
  }
  const JsonText text(json_dumps(saved.get(), 0));
  if (!text) {
    return false;
  }
  // A panel asks with the same grid again and again: a file that holds it already stays as it
  // is, which spares the run directory a rewrite per menu request.
  const std::optional<std::string> held =
      read_file_limited(*path, kFontSettingsMaxBytes, /*follow_links=*/false);
  return (held && *held == text.get()) || replace_file_atomically(*path, text.get());
}

PanelLayout load_font_settings(const char* serial, const PanelLayout& unreadable) {
  const std::optional<HostPath> path = font_file(serial);
  // Read like the other per-panel files: never through a link, within a bound, not waited on.
  const std::optional<std::string> text =
      path ? read_file_limited(*path, kFontSettingsMaxBytes, /*follow_links=*/false) : std::nullopt;
  const JsonPtr saved = text ? json_read(*text) : nullptr;
  if (!saved) {
    return PanelLayout{};
  }
  PanelLayout layout = unreadable;
  const std::int32_t sz = jget_int(saved.get(), "sz", 0);
  const std::int32_t ln = jget_int(saved.get(), "ln", 0);
  const std::int32_t ch = jget_int(saved.get(), "ch", 0);
  if (sz != 0 && ln != 0 && ch != 0) {
    layout.font_size = sz;
    layout.lines = ln;
    layout.chars_per_line = ch;
  }
  return layout;
}

}  // namespace tavio
