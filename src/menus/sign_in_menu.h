// What a panel that must sign in is shown: the passcode entry, and the key set of the keypad
// it types the passcode on.
#ifndef TAVIO_MENUS_SIGN_IN_MENU_H
#define TAVIO_MENUS_SIGN_IN_MENU_H

#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"

namespace tavio {

/// The sign-in menu: one passcode entry of four key-set characters.
[[nodiscard]] JsonPtr panel_sign_in_menu(const PanelLayout& layout);
/// The passcode keypad's inputs: [{"tp": "ks", "cl": ["0123456789ABCDEF"]}], one key set of
/// the sixteen hexadecimal digits.
[[nodiscard]] JsonPtr keyset_input_list();

}  // namespace tavio

#endif
