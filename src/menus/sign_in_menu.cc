#include "menus/sign_in_menu.h"

#include <utility>

#include "protocol/item_ids.h"
#include "protocol/json_build.h"

namespace tavio {
namespace {

// The keypad sends exactly four characters.
constexpr int kPasscodeLength = 4;

}  // namespace

JsonPtr panel_sign_in_menu(const PanelLayout& layout) {
  JsonPtr content = JsonObjectBuilder()
                        .text("ht", "Passcode:")
                        .text("a", "w")
                        .text("it", "ks")
                        .text("k", item::kPanelPasscode.name)
                        .integer("i_min", kPasscodeLength)
                        .integer("i_max", kPasscodeLength)
                        .done();
  return JsonArrayBuilder()
      .add(JsonObjectBuilder()
               .text("id", "panel_sign_in")
               .text("t", "Please sign in")
               .integer("sz", layout.font_size)
               .take("c", std::move(content))
               .done())
      .done();
}

JsonPtr keyset_input_list() {
  return JsonArrayBuilder()
      .add(JsonObjectBuilder()
               .text("tp", "ks")
               .take("cl", JsonArrayBuilder().text("0123456789ABCDEF").done())
               .done())
      .done();
}

}  // namespace tavio
