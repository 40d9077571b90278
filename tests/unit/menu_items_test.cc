// The menu-item schema at its edges, compared as compact JSON with sorted keys; entries as the
// display receives them are the golden menus' (menu-dashboard-home).
#include "protocol/menu_items.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tavio/json_ref.h"

namespace tavio {
namespace {

std::string dump(const JsonPtr& value) {
  if (!value) {
    return "(null)";
  }
  char* text = json_dumps(value.get(), JSON_COMPACT | JSON_SORT_KEYS | JSON_ENCODE_ANY);
  std::string out = text == nullptr ? "(unprintable)" : text;
  std::free(text);
  return out;
}

PanelLayout grid(int theme) { return make_panel_layout(static_cast<ThemeMode>(theme), 1, 21, 4); }

// An entry needs its identifier, title and key; a text item its title and text.
TEST(MenuItems, MissingRequiredTextGivesNull) {
  for (int missing = 0; missing < 3; ++missing) {
    for (const char* bad : {static_cast<const char*>(nullptr), ""}) {
      const char* f[3] = {"x", "x", "x"};
      f[missing] = bad;
      EXPECT_FALSE(menu_item_entry(f[0], f[1], MenuAccess::kRead, f[2], 5, nullptr, nullptr))
          << "field " << missing;
      EXPECT_EQ(menu_item_text("m", f[0], f[1], grid(1)) == nullptr, missing < 2);
    }
  }
}

TEST(MenuText, LaysOutFirst255CharactersIdOptional) {
  const std::string text(300, 'q');
  const std::string cut(255, 'q');
  EXPECT_EQ(dump(menu_item_text("about", "About", text.c_str(), grid(1))),
            R"({"c":{"st":")" + cut + R"("},"id":"about","t":"About"})");
  // The alternative theme adds its empty top line after the cut.
  EXPECT_EQ(dump(menu_item_text(nullptr, "About", text.c_str(), grid(2))),
            R"({"c":{"st":"\n)" + cut + R"("},"t":"About"})");
}

TEST(MenuSeparator, DashesForCount) {
  EXPECT_EQ(dump(menu_item_separator(0)), R"({"t":""})");
  EXPECT_EQ(dump(menu_item_separator(-3)), R"({"t":""})");
  EXPECT_EQ(dump(menu_item_separator(16)), R"({"t":"----------------"})");
  EXPECT_EQ(dump(menu_item_separator(500)), R"({"t":")" + std::string(127, '-') + R"("})");
}

TEST(MenuCustomContent, OneItemMenuWrappedAtLineWidthAndCutTo511Characters) {
  const std::string text(600, 'z');  // 628 characters once wrapped at 21
  const JsonPtr menu = menu_item_custom_content(text.c_str(), grid(1));
  ASSERT_EQ(json_array_size(menu.get()), 1u);
  const json_t* item = json_array_get(menu.get(), 0);
  EXPECT_STREQ(json_string_value(json_object_get(item, "id")), "custom_menu_content");
  const std::string st = json_string_value(json_object_get(item, "st"));
  ASSERT_EQ(st.size(), 511u);
  EXPECT_EQ(st.substr(0, 22), std::string(21, 'z') + "\n");
  EXPECT_EQ(st.substr(505), "\nzzzzz");  // 23 lines of 21 and a break, then 5 more
}

}  // namespace
}  // namespace tavio
