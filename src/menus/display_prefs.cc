#include "menus/display_prefs.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "platform/json_get.h"
#include "platform/os.h"
#include "platform/outside_text.h"
#include "platform/router_paths.h"
#include "platform/router_support.h"
#include "platform/text_buffer.h"
#include "tavio/panel_layout.h"

namespace tavio {
namespace {

constexpr int kDefaultTargetFontSize = 2;

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
  return theme == "google" ? ThemeMode::kAlternative : ThemeMode::kDefault;
}

ThemeMode narrow_theme_mode(const char* serial, ThemeMode mode) {
  return load_theme_mode(serial) == mode ? mode : ThemeMode::kDefault;
}

int save_theme_setting(const char* serial, const char* theme) {
  // The theme is stored only where the panel's theme file already exists.
  const TaglistPtr settings = load_panel_taglist(kThemeSettingsFormat, serial);
  if (settings) {
    update_taglist_ex(settings.get(), "SUPPORT_THEME", theme == nullptr ? "" : theme);
    save_taglist_ex(settings.get(), 1);
  }
  return 1;
}

int target_font_size() {
  const FilePtr file = open_file(HostPath::system(kTargetFontSizeFile), "r");
  int size = kDefaultTargetFontSize;
  if (file && std::fscanf(file.get(), "%d", &size) != 1) {
    size = kDefaultTargetFontSize;
  }
  return size;
}

int match_font_settings(const json_t* font_table, const char* serial, std::int32_t font_size,
                        std::int32_t* chars_per_line, std::int32_t* lines) {
  if (!json_is_array(font_table) || json_array_size(font_table) == 0) {
    return 0;
  }
  std::int32_t found_lines = 0;
  std::int32_t found_chars = 0;
  bool found = false;
  for (std::size_t i = 0; i < json_array_size(font_table) && !found; ++i) {
    const json_t* font = json_array_get(font_table, i);
    const std::int32_t size = jget_int(font, "sz", 0);
    const std::int32_t ln = jget_int(font, "ln", 0);
    const std::int32_t ch = jget_int(font, "ch", 0);
    if (size != 0 && ln != 0 && ch != 0 && size == font_size) {
      found_lines = ln;
      found_chars = ch;
      found = true;
    }
  }
  if (!found) {
    return 0;
  }
  const JsonPtr saved =
      json_own(json_pack("{si,si,si}", "sz", font_size, "ln", found_lines, "ch", found_chars));
  const std::optional<HostPath> path = font_file(serial);
  if (!path) {
    return 0;
  }
  std::unique_ptr<char, decltype(&std::free)> text(saved ? json_dumps(saved.get(), 0) : nullptr,
                                                   &std::free);
  if (!text || !replace_file_atomically(*path, text.get())) {
    return 0;
  }
  if (chars_per_line != nullptr) {
    *chars_per_line = found_chars;
  }
  if (lines != nullptr) {
    *lines = found_lines;
  }
  return 1;
}

PanelLayout load_font_settings(const char* serial, const PanelLayout& unreadable) {
  const std::optional<HostPath> path = font_file(serial);
  const JsonPtr saved = path ? load_json_file(*path) : nullptr;
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

JsonPtr keyset_input_list() {
  return json_own(json_pack("[{ss,s[s]}]", "tp", "ks", "cl", "0123456789ABCDEF"));
}

}  // namespace tavio
