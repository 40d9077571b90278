// Builders of the menu items the display shows: separators, text items, value entries and
// the custom-content item. Each returns a new reference, or null when there is nothing to show;
// a menu's JsonArrayBuilder takes it with add() and leaves a null one out.
#ifndef TAVIO_PROTOCOL_MENU_ITEMS_H
#define TAVIO_PROTOCOL_MENU_ITEMS_H

#include <jansson.h>

#include <cstdint>

#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"

namespace tavio {

/// Seconds the panel shows a polled value before it reads it again.
constexpr std::int32_t kPollSeconds = 5;

/// What the panel may do with an entry's key ("a"): read it, write it, or both.
enum class MenuAccess { kRead, kWrite, kReadWrite };
/// "r", "w" or "rw", as the display reads them.
[[nodiscard]] const char* menu_access_word(MenuAccess access);

/// {"t": count dashes}; "" for a count of 0 or less.
[[nodiscard]] JsonPtr menu_item_separator(std::int32_t count);
/// {"t": title, "c": {"st": text laid out}} plus "id" when given; null without title or text.
[[nodiscard]] JsonPtr menu_item_text(const char* id, const char* title, const char* text,
                                     const PanelLayout& layout);
/// {"id", "t", "c": {"qt": "poll", "a", "k"}} with "ttl" for a readable entry, "ht" for a
/// non-empty hint and "select" (stolen) when given; null when a required text is missing or
/// empty.
[[nodiscard]] JsonPtr menu_item_entry(const char* id, const char* title, MenuAccess access,
                                      const char* key, std::int32_t ttl, const char* hint,
                                      JsonPtr selection);
/// A text item of one label and its value laid out for the panel; null when any text is
/// missing or the laid-out text is empty.
[[nodiscard]] JsonPtr menu_item_label_value(const char* id, const char* title, const char* label,
                                            const char* value, const PanelLayout& layout);
/// {"id": id, "t": title, "m": items}: an item that opens the menu items; null without items.
[[nodiscard]] JsonPtr menu_item_submenu(const char* id, const char* title, JsonPtr items);
/// As menu_item_submenu with the layout's font size ("sz") before the items: a top node of
/// the main menu.
[[nodiscard]] JsonPtr menu_item_sized_submenu(const char* id, const char* title, JsonPtr items,
                                              const PanelLayout& layout);
/// A read-only entry the panel polls with a value read of key every ttl seconds.
[[nodiscard]] JsonPtr menu_item_poll(const char* id, const char* title, const char* key,
                                     std::int32_t ttl = kPollSeconds);
/// {"id", "t", "c": {"ht": hint, "a", "k": key, "select": [first, second]}}: a choice of two
/// words the panel writes to key (the first one the harmless one), never polled.
[[nodiscard]] JsonPtr menu_item_choice(const char* id, const char* title, const char* hint,
                                       MenuAccess access, const char* key, const char* first,
                                       const char* second);
/// A menu array holding {"id": "custom_menu_content", "st": text wrapped}; null only when
/// memory runs out.
[[nodiscard]] JsonPtr menu_item_custom_content(const char* text, const PanelLayout& layout);

}  // namespace tavio

#endif
