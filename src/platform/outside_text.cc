#include "platform/outside_text.h"

#include <cstring>

#include "platform/text_buffer.h"

namespace tavio {
namespace {

bool plain_char(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::strchr("-_.:@+,%=", c) != nullptr;
}

}  // namespace

bool is_plain_word(std::string_view text) {
  for (const char c : text) {
    if (c == '\0' || !plain_char(c)) {
      return false;
    }
  }
  return true;
}

std::string shell_argument(std::string_view text) {
  if (is_plain_word(text)) {
    return std::string(text);
  }
  std::string quoted = "'";
  for (const char c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  quoted += '\'';
  return quoted;
}

std::optional<std::string> command_with_argument(std::size_t capacity, const char* format,
                                                 std::string_view text) {
  const std::string argument = shell_argument(text);
  TextBuffer command(capacity);
  command.appendf(format, argument.c_str());
  if (command.cut() && !is_plain_word(text)) {
    return std::nullopt;
  }
  return command.str();
}

std::optional<std::string> panel_file_path(const char* format, const char* serial) {
  const char* name = serial == nullptr ? "" : serial;
  if (std::strchr(name, '/') != nullptr) {
    return std::nullopt;
  }
  return format_text(kPathCapacity, format, name);
}

TaglistPtr load_panel_taglist(const char* format, const char* serial) {
  const std::optional<std::string> path = panel_file_path(format, serial);
  return path ? load_taglist(path->c_str()) : nullptr;
}

}  // namespace tavio
