#include "status/lan_ha_status.h"

#include <cstdint>
#include <cstring>

#include "layout/panel_text.h"
#include "platform/router_paths.h"
#include "platform/router_support.h"
#include "protocol/json_get.h"
#include "sources/local_api.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr std::size_t kTitleCapacity = 64;
constexpr std::size_t kAddressCapacity = 16;

struct HaSettings {
  bool on = false;
  std::string status;
  std::string virtual_ip;
};

// HA counts only when it is enabled with exactly "yes" and runs by VRRP.
std::optional<HaSettings> load_ha_settings() {
  const TaglistPtr file = load_taglist(kHaStatusFile);
  if (!file) {
    return std::nullopt;
  }
  HaSettings ha;
  ha.on = std::strcmp(get_taglist_default_ex(file.get(), "", "HA_ENABLE"), "yes") == 0 &&
          std::strcmp(get_taglist_default_ex(file.get(), "", "HA_METHOD"), "vrrp") == 0;
  ha.status = get_taglist_default_ex(file.get(), "", "HA_STATUS");
  ha.virtual_ip = get_taglist_default_ex(file.get(), "", "VRRP_VIP");
  return ha;
}

}  // namespace

const char* ha_state_word(const char* word) {
  if (word == nullptr) {
    return "Unknown";
  }
  if (std::strcmp(word, "master") == 0) {
    return "Master";
  }
  if (std::strcmp(word, "backup") == 0) {
    return "Slave";
  }
  if (std::strcmp(word, "fault") == 0) {
    return "Slave (Isolated)";
  }
  return "Unknown";
}

std::optional<std::string> ha_state_title() {
  const std::optional<HaSettings> ha = load_ha_settings();
  if (!ha) {
    return std::nullopt;
  }
  if (!ha->on) {
    return std::string();
  }
  return format_text(kTitleCapacity, "HA State:%s", ha_state_word(ha->status.c_str()));
}

std::string prefix_to_mask(int length) {
  // The shift count wraps at 32, so a length of 0 gives an all-ones mask too.
  const unsigned int shift = (0U - static_cast<unsigned int>(length)) & 31U;
  const std::uint32_t mask = 0xFFFFFFFFU << shift;
  return format_text(kAddressCapacity, "%u.%u.%u.%u", (mask >> 24) & 0xFFU, (mask >> 16) & 0xFFU,
                     (mask >> 8) & 0xFFU, mask & 0xFFU);
}

std::optional<LanAddress> lan_address_get() {
  const JsonPtr result = api_read("status.lan.profile", "&id=0");
  if (!result) {
    return std::nullopt;
  }
  const json_t* profile = json_object_get(result.get(), "0");
  if (profile == nullptr) {
    return std::nullopt;
  }
  const int mask = jget_int(profile, "mask", -1);
  const char* ip = jget_string(profile, "ip", "");
  if (mask == -1 || ip[0] == '\0') {
    return std::nullopt;
  }
  LanAddress address;
  address.ip = cut_text(ip, kAddressCapacity);
  address.mask = prefix_to_mask(mask);
  return address;
}

std::optional<std::string> render_lan_ip(const PanelLayout& layout) {
  const std::optional<LanAddress> address = lan_address_get();
  if (!address || address->ip.empty() || address->mask.empty()) {
    return std::nullopt;
  }
  TextBuffer text(kTextCapacity);
  text.append(layout_label_value("LAN IP:", address->ip, layout));
  text.append("\n");
  text.append(layout_label_value("Subnet mask:", address->mask, layout));
  return layout_finish(layout, text.str(), kTextCapacity);
}

std::optional<std::string> render_ha_status(const PanelLayout& layout) {
  const std::optional<HaSettings> ha = load_ha_settings();
  if (!ha) {
    return std::nullopt;
  }
  TextBuffer text(kTextCapacity);
  if (!ha->on) {
    text.append(layout_wrap("HA is disable!", layout.chars_per_line));
    return layout_finish(layout, text.str(), kTextCapacity);
  }
  const std::optional<LanAddress> address = lan_address_get();
  if (!address || address->ip.empty()) {
    return std::nullopt;
  }
  text.append(layout_label_value("LAN IP:", address->ip, layout));
  text.append("\n");
  if (!ha->virtual_ip.empty()) {
    text.append(layout_label_value("Virtual IP:", ha->virtual_ip, layout));
  }
  return layout_finish(layout, text.str(), kTextCapacity);
}

}  // namespace tavio
