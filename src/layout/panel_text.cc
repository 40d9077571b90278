#include "layout/panel_text.h"

#include <algorithm>

#include "text/text_buffer.h"
#include "text/utf8.h"

namespace tavio {
namespace {

// Padding never needs to outgrow the largest text buffer: whatever lies beyond it is cut
// anyway. Capping it keeps an absurd line width from a damaged font file harmless.
std::string padding(std::size_t count) {
  return std::string(std::min(count, kMaxTextCapacity), ' ');
}

}  // namespace

std::string layout_pad_left(std::string_view text, int width) {
  if (width == 0) {
    return std::string();
  }
  const std::size_t length = utf8_length(text);
  if (width < 0 || length >= static_cast<std::size_t>(width)) {
    return std::string(text);
  }
  std::string out = padding(static_cast<std::size_t>(width) - length);
  if (out.size() < kMaxTextCapacity) {
    out.append(text);
  }
  return out;
}

std::string layout_spaces(int count) {
  return count < 1 ? std::string() : padding(static_cast<std::size_t>(count));
}

std::string layout_wrap(std::string_view text, int width) {
  if (width == 0) {
    return std::string();
  }
  // The width is compared as an unsigned number, so a negative width from a damaged font
  // table never breaks a line.
  const auto line = static_cast<std::size_t>(static_cast<unsigned int>(width));
  if (utf8_prefix(text, line).size == text.size()) {
    return std::string(text);
  }
  std::string out;
  out.reserve(text.size() + text.size() / line);
  // Every full line is followed by "\n", the last line by nothing, full or not.
  std::string_view rest = text;
  for (;;) {
    const std::size_t size = utf8_prefix(rest, line).size;
    out.append(rest.substr(0, size));
    rest.remove_prefix(size);
    if (rest.empty()) {
      return out;
    }
    out.push_back('\n');
  }
}

std::string layout_wrap_value(std::string_view text, int width) {
  if (width == 0) {
    return std::string();
  }
  const std::size_t length = utf8_length(text);
  if (length == static_cast<std::size_t>(static_cast<unsigned int>(width))) {
    return std::string(text);
  }
  if (width > 0 && length < static_cast<std::size_t>(width)) {
    return layout_pad_left(text, width);
  }
  return layout_wrap(text, width);
}

std::string layout_label_value(std::string_view label, std::string_view value,
                               const PanelLayout& layout) {
  const int width = layout.chars_per_line;
  if (width == 0) {
    return std::string();
  }
  const long long total =
      static_cast<long long>(utf8_length(label)) + static_cast<long long>(utf8_length(value));
  std::string out;
  if (total < width) {
    out.assign(label);
    if (layout.theme_mode == ThemeMode::kAlternative) {
      out += ' ';
    } else {
      out += layout_spaces(static_cast<int>(width - total));
    }
    out.append(value);
  } else {
    // The label ends its own line; a pair that would fill one line exactly is split too.
    out = layout_wrap(label, width);
    out += '\n';
    out += layout_wrap_value(value, width);
  }
  return out;
}

std::string layout_finish(const PanelLayout& layout, std::string_view text, std::size_t capacity) {
  if (layout.theme_mode != ThemeMode::kAlternative) {
    return std::string(text);
  }
  const std::string_view counted = text.substr(0, utf8_prefix(text, capacity).size);
  const long long lines = 1 + std::count(counted.begin(), counted.end(), '\n');
  if (lines >= layout.lines) {
    return std::string(text);
  }
  TextBuffer pushed(capacity + 1);
  pushed.append("\n");
  pushed.append(text);
  return pushed.str();
}

}  // namespace tavio
