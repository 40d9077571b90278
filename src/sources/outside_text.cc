#include "sources/outside_text.h"

#include <cstring>

#include "platform/os.h"
#include "text/text_buffer.h"

namespace tavio {
bool outside_argument_fits(std::string_view text, std::size_t limit) {
  return (text.empty() || text.front() != '-') && text.size() <= limit;
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
