#include "layout/menu_items.h"

#include <algorithm>
#include <string>

#include "layout/panel_text.h"
#include "platform/text_buffer.h"

namespace tavio {
namespace {

// A separator line never outgrows its 128-byte buffer.
constexpr std::size_t kSeparatorCapacity = 128;

bool is_empty(const char* text) { return text == nullptr || text[0] == '\0'; }

}  // namespace

JsonPtr menu_item_separator(std::int32_t count) {
  const std::size_t dashes =
      count <= 0 ? 0
                 : std::min<std::size_t>(static_cast<std::size_t>(count), kSeparatorCapacity - 1);
  const std::string line(dashes, '-');
  return json_own(json_pack("{ss}", "t", line.c_str()));
}

JsonPtr menu_item_text(const char* id, const char* title, const char* text,
                       const PanelLayout& layout) {
  if (is_empty(title) || is_empty(text)) {
    return nullptr;
  }
  const std::string kept = cut_text(text, kTextCapacity);
  const std::string laid_out = layout_finish(layout, kept, kTextCapacity);
  JsonPtr item = json_own(json_pack("{ss,s{ss}}", "t", title, "c", "st", laid_out.c_str()));
  if (item && id != nullptr) {
    json_object_set_new_nocheck(item.get(), "id", json_string(id));
  }
  return item;
}

JsonPtr menu_item_text_raw(const char* id, const char* title, const char* text) {
  if (is_empty(title) || is_empty(text)) {
    return nullptr;
  }
  JsonPtr item = json_own(json_pack("{ss,s{ss}}", "t", title, "c", "st", text));
  if (item && id != nullptr) {
    json_object_set_new_nocheck(item.get(), "id", json_string(id));
  }
  return item;
}

const char* menu_access_word(MenuAccess access) {
  switch (access) {
    case MenuAccess::kRead:
      return "r";
    case MenuAccess::kWrite:
      return "w";
    case MenuAccess::kReadWrite:
      return "rw";
  }
  return "r";
}

JsonPtr menu_item_entry(const char* id, const char* title, MenuAccess access, const char* key,
                        std::int32_t ttl, const char* hint, JsonPtr selection) {
  if (is_empty(id) || is_empty(title) || is_empty(key)) {
    return nullptr;
  }
  JsonPtr content =
      json_own(json_pack("{ss,ss,ss}", "qt", "poll", "a", menu_access_word(access), "k", key));
  if (!content) {
    return nullptr;
  }
  // Only readable entries are polled, so only they carry a refresh period.
  if (access != MenuAccess::kWrite) {
    json_object_set_new_nocheck(content.get(), "ttl", json_integer(ttl));
  }
  if (!is_empty(hint)) {
    json_object_set_new_nocheck(content.get(), "ht", json_string(hint));
  }
  if (selection) {
    json_object_set_new_nocheck(content.get(), "select", selection.release());
  }
  return json_own(json_pack("{ss,ss,so}", "id", id, "t", title, "c", content.release()));
}

JsonPtr menu_item_label_value(const char* id, const char* title, const char* label,
                              const char* value, const PanelLayout& layout) {
  if (is_empty(id) || is_empty(title) || label == nullptr || value == nullptr) {
    return nullptr;
  }
  const std::string text = cut_text(layout_label_value(label, value, layout), kTextCapacity);
  return text.empty() ? nullptr : menu_item_text(id, title, text.c_str(), layout);
}

JsonPtr menu_item_submenu(const char* id, const char* title, JsonPtr items) {
  if (!items) {
    return nullptr;
  }
  return json_own(json_pack("{ss,ss,so}", "id", id, "t", title, "m", items.release()));
}

JsonPtr menu_item_poll(const char* id, const char* title, const char* key, std::int32_t ttl) {
  return menu_item_entry(id, title, MenuAccess::kRead, key, ttl, nullptr, nullptr);
}

JsonPtr menu_item_choice(const char* id, const char* title, const char* hint, MenuAccess access,
                         const char* key, const char* first, const char* second) {
  return json_own(json_pack("{ss,ss,s{ss,ss,ss,s[ss]}}", "id", id, "t", title, "c", "ht", hint, "a",
                            menu_access_word(access), "k", key, "select", first, second));
}

JsonPtr menu_item_custom_content(const char* text, const PanelLayout& layout) {
  JsonPtr menu = json_own(json_array());
  const std::string wrapped =
      cut_text(layout_wrap(text == nullptr ? "" : text, layout.chars_per_line), kLongTextCapacity);
  json_t* item = json_pack("{ss,ss}", "id", "custom_menu_content", "st", wrapped.c_str());
  if (menu && item != nullptr) {
    json_array_append_new(menu.get(), item);
  }
  return menu;
}

}  // namespace tavio
