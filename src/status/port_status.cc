#include "status/port_status.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "layout/panel_text.h"
#include "platform/os.h"
#include "platform/router_paths.h"
#include "platform/router_support.h"
#include "protocol/json_get.h"
#include "sources/local_api.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr std::size_t kLinkCapacity = 64;

// Every speed the panel does not name is shown as 10baseT.
const char* speed_word(int speed) {
  switch (speed) {
    case 10000:
      return "10Gbase";
    case 1000:
      return "1000baseTx";
    case 100:
      return "100baseTx";
    default:
      return "10baseT";
  }
}

// The link text of an API speed such as "100FD": "negotiated 100baseTx-FD flow-control,
// link ok", or "no link".
std::string port_speed_text(const char* speed) {
  int number = 0;
  char suffix[16] = {0};
  if (speed == nullptr || speed[0] == '\0' || std::sscanf(speed, "%d%15s", &number, suffix) != 2) {
    return "no link";
  }
  TextBuffer text(kLinkCapacity);
  text.append("negotiated ");
  text.append(speed_word(number));
  if (number != 10000) {
    text.appendf("-%s flow-control", suffix);
  }
  text.append(", link ok");
  return text.str();
}

// The first front panel's port descriptions; nothing when the API has none.
JsonPtr front_panel_ports() {
  const JsonPtr result = api_read("config.port.frontPanel");
  if (!result) {
    return nullptr;
  }
  json_t* panels = json_object_get(result.get(), "panel");
  json_t* first = json_is_array(panels) ? json_array_get(panels, 0) : nullptr;
  return first == nullptr ? nullptr : json_share(first);
}

// False when the front-panel port doubles as a WAN port that is not shown as LAN.
bool port_shown_as_lan(const json_t* panel_ports, const json_t* wan, int port) {
  bool result = true;
  const std::vector<OrderedMember> wans =
      ordered_members(wan, kMaxWanConnections).value_or(std::vector<OrderedMember>{});
  for (std::size_t i = 0; i < json_array_size(panel_ports) && i < kMaxLanPorts; ++i) {
    const json_t* panel_port = json_array_get(panel_ports, i);
    const char* label = jget_string(panel_port, "label", "");
    if (label[0] == '\0' || std::strtol(label, nullptr, 10) != port) {
      continue;
    }
    const int port_id = jget_int(panel_port, "portId", -1);
    for (const auto& [wan_id, connection] : wans) {
      if (!json_is_object(connection) || wan_id != port_id) {
        continue;
      }
      // A port that doubles as a WAN is a LAN port only while that WAN lets it be one.
      int flag = 1;
      const json_t* as_lan = json_object_get(connection, "asLan");
      if (as_lan != nullptr) {
        json_unpack(const_cast<json_t*>(as_lan), "b", &flag);
      }
      result = flag != 0;
    }
  }
  return result;
}

}  // namespace

std::optional<PortStatusList> port_status_collect(std::optional<int> id) {
  const std::string query = id ? format_text(kPathCapacity, "?lite=no&id=%d", *id) : "?lite=no";
  const JsonPtr result = api_read("status.port", query);
  const auto lan_ports =
      result ? ordered_members(json_object_get(result.get(), "lan"), kMaxLanPorts) : std::nullopt;
  if (!lan_ports) {
    return std::nullopt;
  }
  const json_t* wan = json_object_get(result.get(), "wan");
  const JsonPtr panel_ports = front_panel_ports();
  PortStatusList list;
  for (const auto& [port_id, entry] : *lan_ports) {
    if (entry == nullptr) {
      continue;
    }
    PortStatus port;
    port.id = port_id;
    // "enable" and "linkUp" do not decide anything: a port without a link has no speed.
    port.link = cut_text(port_speed_text(jget_string(entry, "speed", "")), kLinkCapacity);
    if (!port_shown_as_lan(panel_ports.get(), wan, port.id)) {
      continue;
    }
    port.name = format_text(kTextCapacity, "%s %d", "Port", port.id);
    list.items.push_back(std::move(port));
  }
  return list;
}

std::optional<std::string> render_lan_port_status(int port, const PanelLayout& layout) {
  TextBuffer text(kTextCapacity);
  if (const std::optional<PortStatusList> list = port_status_collect(port)) {
    for (const PortStatus& status : list->items) {
      if (status.id == port && !status.link.empty()) {
        text.append(layout_label_value("LAN Status:", status.link, layout));
        break;
      }
    }
  }
  return layout_finish(layout, text.str(), kTextCapacity);
}

}  // namespace tavio
