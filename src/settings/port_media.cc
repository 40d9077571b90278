#include "settings/port_media.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "platform/command.h"
#include "platform/os.h"
#include "platform/router_paths.h"
#include "platform/router_support.h"
#include "text/text_buffer.h"

namespace tavio {

std::optional<std::string> port_media_get(int port) {
  if (port < 0) {
    return std::nullopt;
  }
  const TaglistPtr config = load_taglist(kConfigRun);
  if (!config) {
    return std::nullopt;
  }
  const char* media = port == 0 ? get_taglist_default_ex(config.get(), "Auto", "LAN_MEDIA")
                                : get_taglist_default_ex(config.get(), "Auto", "PIF%d_MEDIA", port);
  return std::string(media);
}

namespace {

constexpr int kSpeedLineLength = 255;
constexpr int kGigabit = 1000;

// The top speed of port from the interface speed file (1000 for gigabit), 0 when unknown.
int interface_max_speed(int port) {
  const FilePtr file = open_file(HostPath::system(kInterfaceSpeedFile), "r");
  if (!file) {
    return 0;
  }
  char line[kSpeedLineLength + 1];
  while (std::fgets(line, sizeof line, file.get()) != nullptr && line[0] != '\0') {
    int line_port = 0;
    int speed = 0;
    if (std::sscanf(line, "%d:%d", &line_port, &speed) == 2 && line_port == port) {
      return speed;
    }
  }
  return 0;
}

}  // namespace

std::vector<std::string> port_media_choices(int port) {
  std::vector<std::string> choices;
  if (interface_max_speed(port) == kGigabit) {
    choices.emplace_back("1000baseTx-FD");
  }
  for (const char* media : {"100baseTx-HD", "100baseTx-FD", "10baseT-HD", "10baseT-FD", "Auto"}) {
    choices.emplace_back(media);
  }
  return choices;
}

std::optional<std::string> set_port_media(int port, const char* value) {
  if (port < 0 || value == nullptr) {
    return std::nullopt;
  }
  const std::vector<std::string> choices = port_media_choices(port);
  if (std::find(choices.begin(), choices.end(), value) == choices.end()) {
    return std::nullopt;
  }
  // config.run is what runs now; the change goes to config.active and is then activated.
  if (port_media_get(port) == value) {
    return std::string(value);
  }
  const TaglistPtr active = load_taglist(kConfigActive);
  if (!active) {
    return std::nullopt;
  }
  const std::string key =
      port == 0 ? std::string("LAN_MEDIA") : format_text(kPathCapacity, "PIF%d_MEDIA", port);
  if (update_taglist_ex(active.get(), key.c_str(), value) != 0 ||
      save_taglist_ex(active.get(), 1) != 0) {
    return std::nullopt;
  }
  run_detached({{"saveconfig", {}, kFlashToolDeadline}, {"activate", {}, kFlashToolDeadline}});
  return std::string(value);
}

}  // namespace tavio
