#include "status/vpn_status.h"

#include <cstring>

#include "layout/panel_text.h"
#include "protocol/json_get.h"
#include "sources/local_api.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr std::size_t kLabelCapacity = 64;

struct StateWord {
  const char* status;
  const char* shown;
};

const StateWord kStateWords[] = {
    {"START", "STARTING"}, {"AUTHEN", "AUTHENTICATING"},   {"TUNNEL", "TUNNELING"},
    {"ROUTE", "ROUTING"},  {"CONFLICT", "ROUTE CONFLICT"}, {"CONNECTED", "ESTABLISHED"},
};

const char* state_word(const char* status) {
  for (const StateWord& word : kStateWords) {
    if (std::strcmp(status, word.status) == 0) {
      return word.shown;
    }
  }
  return "";
}

bool peer_secure(const json_t* peers, int profile_id) {
  bool secure = false;
  for (std::size_t i = 0; i < json_array_size(peers) && i < kMaxVpnPeers; ++i) {
    const json_t* peer = json_array_get(peers, i);
    const json_t* flag = json_object_get(peer, "secure");
    if (jget_int(peer, "profileId", -1) == profile_id && flag != nullptr && json_is_true(flag)) {
      secure = true;  // a false flag never clears what another peer set
    }
  }
  return secure;
}

}  // namespace

std::optional<VpnStatusList> vpn_status_collect() {
  const JsonPtr result = api_read("status.korvpn");
  const auto profiles =
      result ? ordered_members(json_object_get(result.get(), "profile"), kMaxVpnProfiles)
             : std::nullopt;
  if (!profiles) {
    return std::nullopt;
  }
  const json_t* peers = json_object_get(result.get(), "peer");
  VpnStatusList list;
  for (const auto& [profile_id, profile] : *profiles) {
    if (profile == nullptr) {
      continue;
    }
    VpnStatus vpn;
    vpn.id = profile_id;
    vpn.name = jget_string(profile, "name", "");
    vpn.state = state_word(jget_string(profile, "status", ""));
    vpn.secure = peer_secure(peers, vpn.id);
    list.items.push_back(std::move(vpn));
  }
  return list;
}

//  HQ[SECURED]:
//          ESTABLISHED
std::string render_vpn_status(int id, const PanelLayout& layout) {
  TextBuffer text(kTextCapacity);
  if (const std::optional<VpnStatusList> list = vpn_status_collect()) {
    for (const VpnStatus& vpn : list->items) {
      if (vpn.id == id) {
        const std::string label = format_text(kLabelCapacity, "%s[%s]:", vpn.name.c_str(),
                                              vpn.secure ? "SECURED" : "NOT SECURED");
        text.append(layout_label_value(label, vpn.state, layout));
        break;
      }
    }
  }
  if (text.empty()) {
    text.append(layout_wrap_value(
        "Cannot get VPN status. Please back to System Status menu to refresh VPN links.",
        layout.chars_per_line));
  }
  return layout_finish(layout, text.str(), kTextCapacity);
}

}  // namespace tavio
