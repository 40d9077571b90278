#include "menus/sign_in_menu.h"

#include "protocol/item_ids.h"

namespace tavio {
namespace {

// The keypad sends exactly four characters.
constexpr int kPasscodeLength = 4;

}  // namespace

JsonPtr panel_sign_in_menu(const PanelLayout& layout) {
  JsonPtr menu = json_own(json_array());
  json_t* content =
      json_pack("{ss,ss,ss,ss,si,si}", "ht", "Passcode:", "a", "w", "it", "ks", "k",
                item::kPanelPasscode.name, "i_min", kPasscodeLength, "i_max", kPasscodeLength);
  json_array_append_new(
      menu.get(), json_pack("{ss,ss,si,so}", "id", "panel_sign_in", "t", "Please sign in", "sz",
                            layout.font_size, "c", content));
  return menu;
}

JsonPtr keyset_input_list() {
  return json_own(json_pack("[{ss,s[s]}]", "tp", "ks", "cl", "0123456789ABCDEF"));
}

}  // namespace tavio
