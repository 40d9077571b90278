#include "protocol/menu_items.h"

#include <algorithm>
#include <string>
#include <utility>

#include "layout/panel_text.h"
#include "protocol/json_build.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

// A separator is at most 127 dashes, whatever width a damaged font table gives.
constexpr std::size_t kSeparatorCapacity = 128;

bool is_empty(const char* text) { return text == nullptr || text[0] == '\0'; }

}  // namespace

JsonPtr menu_item_separator(std::int32_t count) {
  const std::size_t dashes =
      count <= 0 ? 0
                 : std::min<std::size_t>(static_cast<std::size_t>(count), kSeparatorCapacity - 1);
  const std::string line(dashes, '-');
  return JsonObjectBuilder().text("t", line).done();
}

JsonPtr menu_item_text(const char* id, const char* title, const char* text,
                       const PanelLayout& layout) {
  if (is_empty(title) || is_empty(text)) {
    return nullptr;
  }
  const std::string kept = cut_text(text, kTextCapacity);
  const std::string laid_out = layout_finish(layout, kept, kTextCapacity);
  JsonObjectBuilder item;
  item.text("t", title).take("c", JsonObjectBuilder().text("st", laid_out).done());
  if (id != nullptr) {
    item.text("id", id);
  }
  return item.done();
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
  JsonObjectBuilder content;
  content.text("qt", "poll").text("a", menu_access_word(access)).text("k", key);
  // Only readable entries are polled, so only they carry a refresh period.
  if (access != MenuAccess::kWrite) {
    content.integer("ttl", ttl);
  }
  if (!is_empty(hint)) {
    content.text("ht", hint);
  }
  if (selection) {
    content.take("select", std::move(selection));
  }
  return JsonObjectBuilder().text("id", id).text("t", title).take("c", content.done()).done();
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
  return JsonObjectBuilder().text("id", id).text("t", title).take("m", std::move(items)).done();
}

JsonPtr menu_item_sized_submenu(const char* id, const char* title, JsonPtr items,
                                const PanelLayout& layout) {
  return JsonObjectBuilder()
      .text("id", id)
      .text("t", title)
      .integer("sz", layout.font_size)
      .take("m", std::move(items))
      .done();
}

JsonPtr menu_item_poll(const char* id, const char* title, const char* key, std::int32_t ttl) {
  return menu_item_entry(id, title, MenuAccess::kRead, key, ttl, nullptr, nullptr);
}

JsonPtr menu_item_choice(const char* id, const char* title, const char* hint, MenuAccess access,
                         const char* key, const char* first, const char* second) {
  if (first == nullptr || second == nullptr) {
    return nullptr;
  }
  JsonPtr content = JsonObjectBuilder()
                        .text("ht", hint)
                        .text("a", menu_access_word(access))
                        .text("k", key)
                        .take("select", JsonArrayBuilder().text(first).text(second).done())
                        .done();
  return JsonObjectBuilder().text("id", id).text("t", title).take("c", std::move(content)).done();
}

JsonPtr menu_item_custom_content(const char* text, const PanelLayout& layout) {
  const std::string wrapped =
      cut_text(layout_wrap(text == nullptr ? "" : text, layout.chars_per_line), kLongTextCapacity);
  return JsonArrayBuilder()
      .add(JsonObjectBuilder().text("id", "custom_menu_content").text("st", wrapped).done())
      .done();
}

}  // namespace tavio
