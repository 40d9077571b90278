#include "platform/outside_text.h"

#include <cstring>

#include "platform/os.h"
#include "platform/text_buffer.h"

namespace tavio {
namespace {

bool plain_char(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         std::strchr("-_.:@+,%=", c) != nullptr;
}

}  // namespace

bool outside_argument_fits(std::size_t capacity, std::string_view line_format,
                           std::string_view text) {
  if (!text.empty() && text.front() == '-') {
    return false;
  }
  bool plain = true;
  std::size_t quotes = 0;
  for (const char c : text) {
    plain = plain && c != '\0' && plain_char(c);
    quotes += c == '\'' ? 1 : 0;
  }
  const std::size_t word = plain ? text.size() : text.size() + 2 + 3 * quotes;
  const std::size_t placeholder = 2;  // the "%s" the word takes the place of
  return line_format.size() - placeholder + word < capacity;
}

std::optional<std::string> panel_file_path(const char* format, const char* serial) {
  const char* name = serial == nullptr ? "" : serial;
  if (std::strchr(name, '/') != nullptr) {
    return std::nullopt;
  }
  return format_text(kPathCapacity, format, name);
}

TaglistPtr load_panel_taglist(const char* format, const char* serial) {
  // The run directory is shared by every panel: a link or a FIFO placed at a panel's name is
  // no settings file, and never followed or waited on.
  const std::optional<std::string> path = panel_file_path(format, serial);
  return path && is_plain_file(HostPath::system(*path)) ? load_taglist(path->c_str()) : nullptr;
}

}  // namespace tavio
