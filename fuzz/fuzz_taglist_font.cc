// The router's key/value files: the input as a taglist file is loaded, read, changed and saved,
// and what was saved reads back the same. Then the panel's font table: the first byte a font
// size, the rest a menu request's font table; a grid that matched is saved and loads back.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "harness.h"
#include "panel/display_prefs.h"
#include "platform/router_support.h"
#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"

namespace {

constexpr char kTaglistPath[] = "/var/run/dorva/tavio/fuzz_taglist.conf";
constexpr char kPanelSerial[] = "PNL-FUZZ";

// Keys the router's files hold; the input's own "KEY=" lines add theirs.
const char* const kKnownKeys[] = {"LAN_MEDIA",         "PIF1_MEDIA",      "WLAN_ORDER",
                                  "WLAN1_SSID",        "SUPPORT_THEME",   "LATEST_ACCESS",
                                  "MMI_LOGIN_KEYCODE", "LOCAL_HTTP_PORT", "ADMIN_PANEL_PASSCODE"};

// What the list says for each key, as the C text callers get.
std::vector<std::string> read_keys(const taglist_t* list, const std::vector<std::string>& keys) {
  std::vector<std::string> values;
  for (const std::string& key : keys) {
    values.emplace_back(get_taglist_default_ex(list, "(absent)", "%s", key.c_str()));
  }
  return values;
}

void fuzz_taglist(std::string_view text) {
  std::ofstream(std::string(tavio_fuzz::fuzz_root()) + kTaglistPath, std::ios::binary) << text;
  std::vector<std::string> keys(std::begin(kKnownKeys), std::end(kKnownKeys));
  for (std::string_view line : tavio_fuzz::split_input(text, "\n")) {
    const std::size_t equals = line.find('=');
    if (equals != std::string_view::npos && equals > 0 && equals < 64) {
      keys.emplace_back(line.substr(0, equals));
    }
  }
  const tavio::TaglistPtr list = tavio::load_taglist(kTaglistPath);
  if (!list) {
    tavio_fuzz::fuzz_fail("an existing file did not load as a taglist", text);
  }
  // A change as tavio makes one (a port's media), and one under a key from the input.
  update_taglist_ex(list.get(), "LAN_MEDIA", "100baseTx-FD");
  update_taglist_ex(list.get(), keys.back().c_str(), std::string(text.substr(0, 32)).c_str());
  std::vector<std::string> expected = read_keys(list.get(), keys);
  if (save_taglist_ex(list.get(), 1) != 0) {
    tavio_fuzz::fuzz_fail("a taglist could not be saved", text);
  }
  const tavio::TaglistPtr again = tavio::load_taglist(kTaglistPath);
  if (!again) {
    tavio_fuzz::fuzz_fail("a saved taglist did not load", text);
  }
  const std::vector<std::string> after = read_keys(again.get(), keys);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    // A value never spans lines: a line break inside one is saved as a blank.
    std::replace_if(
        expected[i].begin(), expected[i].end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
    if (after[i] != expected[i]) {
      tavio_fuzz::fuzz_fail("a saved taglist reads back differently at key", keys[i]);
    }
  }
}

void fuzz_font_table(std::int32_t font_size, std::string_view text) {
  const tavio::JsonPtr table = tavio::json_own(json_loadb(text.data(), text.size(), 0, nullptr));
  const std::optional<tavio::FontGrid> grid = tavio::find_font_grid(table.get(), font_size);
  if (!grid || !tavio::save_font_grid(kPanelSerial, *grid)) {
    return;
  }
  const tavio::PanelLayout saved = tavio::load_font_settings(kPanelSerial);
  if (saved.font_size != font_size || saved.chars_per_line != grid->chars_per_line ||
      saved.lines != grid->lines) {
    tavio_fuzz::fuzz_fail("a matched font grid reads back differently", text);
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  tavio_fuzz::init_fuzz_root();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const tavio_fuzz::ServedReplies served({});
  fuzz_taglist(text);
  if (size > 0) {
    fuzz_font_table(static_cast<std::int8_t>(data[0]), text.substr(1));
  }
  return 0;
}
