// Builders of the menu items the display shows: separators, text items, value entries and
// the custom-content item. Each returns a new reference (or null); appending it to a menu
// with json_array_append_new(menu, item.release()) hands it to the menu.
#ifndef TAVIO_LAYOUT_MENU_ITEMS_H
#define TAVIO_LAYOUT_MENU_ITEMS_H

#include <jansson.h>

#include <cstdint>

#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"

namespace tavio {

/// {"t": count dashes}; "" for a count of 0 or less.
[[nodiscard]] JsonPtr menu_item_separator(std::int32_t count);
/// {"t": title, "c": {"st": text laid out}} plus "id" when given; null without title or text.
[[nodiscard]] JsonPtr menu_item_text(const char* id, const char* title, const char* text,
                                     const PanelLayout& layout);
/// As menu_item_text, with the text taken as it is, at any length.
[[nodiscard]] JsonPtr menu_item_text_raw(const char* id, const char* title, const char* text);
/// {"id", "t", "c": {"qt", "a", "k"}} with "ttl" for access "r"/"rw", "ht" for a non-empty
/// hint and "select" (stolen) when given; null when a required text is missing or empty.
[[nodiscard]] JsonPtr menu_item_entry(const char* id, const char* title, const char* query_type,
                                      const char* access, const char* key, std::int32_t ttl,
                                      const char* hint, JsonPtr selection);
/// A text item of one label and its value laid out for the panel; null when any text is
/// missing or the laid-out text is empty.
[[nodiscard]] JsonPtr menu_item_label_value(const char* id, const char* title, const char* label,
                                            const char* value, const PanelLayout& layout);
/// {"id": id, "t": title, "m": items}: an item that opens the menu items; null without items.
[[nodiscard]] JsonPtr menu_item_submenu(const char* id, const char* title, JsonPtr items);
/// A read-only entry the panel polls with a value read of key every ttl seconds.
[[nodiscard]] JsonPtr menu_item_poll(const char* id, const char* title, const char* key,
                                     std::int32_t ttl);
/// A menu array holding {"id": "custom_menu_content", "st": text wrapped}; never null.
[[nodiscard]] JsonPtr menu_item_custom_content(const char* text, const PanelLayout& layout);

}  // namespace tavio

#endif
