#include "handlers/value_read.h"

#include <cstring>
#include <optional>
#include <string>

#include "layout/panel_text.h"
#include "power/external_power.h"
#include "power/unit_status.h"
#include "protocol/item_ids.h"
#include "protocol/json_build.h"
#include "protocol/json_get.h"
#include "protocol/menu_items.h"
#include "settings/port_media.h"
#include "settings/remote_assist.h"
#include "status/lan_ha_status.h"
#include "status/port_status.h"
#include "status/system_info.h"
#include "status/traffic_status.h"
#include "status/vpn_status.h"
#include "status/wan_status.h"
#include "status/wifi_status.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

using Text = std::optional<std::string>;

/// What a row hands its reader: the identifier's suffix as read, the row's arguments and
/// the panel's grid.
struct ValueRequest {
  const ItemArgs& args;
  TrafficDirection direction;
  PortQuantity quantity;
  PowerUnitType unit;
  const PanelLayout& layout;
};

Text read_ha_status(const ValueRequest& item) { return render_ha_status(item.layout); }
Text read_system_time(const ValueRequest& item) { return render_system_time(item.layout); }
Text read_uptime(const ValueRequest& item) { return render_uptime(item.layout); }
Text read_cpu_load(const ValueRequest& item) { return render_cpu_load(item.layout); }
Text read_lan_ip(const ValueRequest& item) { return render_lan_ip(item.layout); }
Text read_data_transfer(const ValueRequest& item) { return render_data_transfer(item.layout); }
Text read_remote_assist(const ValueRequest& /*item*/) { return remote_assist_get(); }
Text read_wifi_ap(const ValueRequest& item) { return render_wifi_ap(item.layout); }

Text read_throughput(const ValueRequest& item) {
  return render_throughput(item.direction, item.layout);
}

Text read_lan_port_status(const ValueRequest& item) {
  return render_lan_port_status(item.args.number, item.layout);
}

Text read_wan_status(const ValueRequest& item) {
  return render_wan_status(item.args.number, item.layout);
}

Text read_vpn_status(const ValueRequest& item) {
  return render_vpn_status(item.args.number, item.layout);
}

Text read_lan_port_speed(const ValueRequest& item) {
  const Text media = port_media_get(0);
  if (!media) {
    return std::nullopt;
  }
  return cut_text(layout_label_value("LAN speed:", *media, item.layout), kTextCapacity);
}

Text read_wan_port_speed(const ValueRequest& item) { return port_media_get(item.args.number); }

Text read_port_quantity(const ValueRequest& item) {
  return render_port_quantity(item.quantity, item.unit, item.args.unit, item.layout);
}

Text read_unit_temperature(const ValueRequest& item) {
  return pmu_render_temperature(item.unit, item.args.unit, item.layout);
}

Text read_port_control(const ValueRequest& item) {
  return pmu_port_state(item.args.unit, item.args.number);
}

Text read_input_power(const ValueRequest& item) { return extpower_render_input_power(item.layout); }
Text read_battery(const ValueRequest& item) {
  return battery_render_one(item.args.number, item.layout);
}
Text read_batteries(const ValueRequest& item) { return battery_render_all(item.layout); }

/// A row of the value-read table: the key it answers, its reader, and what the reader is
/// told beyond the identifier.
struct ValueRow {
  ItemKey key;
  Text (*read)(const ValueRequest& item);
  PortQuantity quantity = PortQuantity::kState;
  PowerUnitType unit = PowerUnitType::kIntegratedPmu;
  TrafficDirection direction = TrafficDirection::kIn;
};

constexpr PowerUnitType kLocal = PowerUnitType::kIntegratedPmu;
constexpr PowerUnitType kExternal = PowerUnitType::kExternalPmu;
constexpr PowerUnitType kPdu = PowerUnitType::kPdu;
constexpr PortQuantity kState = PortQuantity::kState;

// Tried strictly in this order; the first row that matches decides.
const ValueRow kValueRows[] = {
    {item::kHaStatus, read_ha_status},
    {item::kSystemTime, read_system_time},
    {item::kUptime, read_uptime},
    {item::kCpuLoad, read_cpu_load},
    {item::kLanPortStatus, read_lan_port_status},
    {item::kLanIp, read_lan_ip},
    {item::kWanStatus, read_wan_status},
    {item::kVpnStatus, read_vpn_status},
    {item::kThroughputIn, read_throughput, kState, kLocal, TrafficDirection::kIn},
    {item::kThroughputOut, read_throughput, kState, kLocal, TrafficDirection::kOut},
    {item::kDataTransfer, read_data_transfer},
    {item::kLocalPmuPortState, read_port_quantity, kState, kLocal},
    {item::kExtPmuPortState, read_port_quantity, kState, kExternal},
    {item::kPduPortState, read_port_quantity, kState, kPdu},
    {item::kPortControl, read_port_control},
    {item::kLocalPmuTemperature, read_unit_temperature, kState, kLocal},
    {item::kExtPmuTemperature, read_unit_temperature, kState, kExternal},
    {item::kPduTemperature, read_unit_temperature, kState, kPdu},
    {item::kLocalPmuInputVoltage, read_port_quantity, PortQuantity::kInputVoltage, kLocal},
    {item::kExtPmuInputVoltage, read_port_quantity, PortQuantity::kInputVoltage, kExternal},
    {item::kLocalPmuOutputVoltage, read_port_quantity, PortQuantity::kOutputVoltage, kLocal},
    {item::kExtPmuOutputVoltage, read_port_quantity, PortQuantity::kOutputVoltage, kExternal},
    {item::kPduVoltage, read_port_quantity, PortQuantity::kVoltage, kPdu},
    {item::kLocalPmuInputCurrent, read_port_quantity, PortQuantity::kInputCurrent, kLocal},
    {item::kExtPmuInputCurrent, read_port_quantity, PortQuantity::kInputCurrent, kExternal},
    {item::kLocalPmuOutputCurrent, read_port_quantity, PortQuantity::kOutputCurrent, kLocal},
    {item::kExtPmuOutputCurrent, read_port_quantity, PortQuantity::kOutputCurrent, kExternal},
    {item::kPduCurrent, read_port_quantity, PortQuantity::kCurrent, kPdu},
    {item::kLanPortSpeed, read_lan_port_speed},
    {item::kWanPortSpeed, read_wan_port_speed},
    {item::kRemoteAssist, read_remote_assist},
    {item::kInputPower, read_input_power},
    {item::kBattery, read_battery},
    {item::kBatteries, read_batteries},
    {item::kWifiAp, read_wifi_ap},
};

JsonPtr value_entry(const char* identifier, const char* text) {
  return JsonObjectBuilder()
      .text("k", identifier)
      .text("v", text)
      .integer("ttl", kPollSeconds)
      .done();
}

}  // namespace

const ItemKey* value_read_key(const char* identifier) {
  return matching_row_key(kValueRows, identifier);
}

JsonPtr render_value_item(const char* identifier, const PanelLayout& layout) {
  if (identifier == nullptr || identifier[0] == '\0') {
    return nullptr;
  }
  std::optional<ItemArgs> args;
  const ValueRow* row = match_item_row(kValueRows, identifier, &args);
  const Text text =
      (row == nullptr || !args)
          ? std::nullopt
          : row->read(ValueRequest{*args, row->direction, row->quantity, row->unit, layout});
  return value_entry(identifier, text ? text->c_str() : "");
}

JsonPtr handle_value_read(const json_t* req, const Exchange& exchange) {
  if (req == nullptr) {
    return nullptr;
  }
  JsonArrayBuilder entries;
  const json_t* list = json_object_get(req, "list");  // not a list: no elements
  for (std::size_t i = 0; i < json_array_size(list); ++i) {
    const char* identifier = jget_string(json_array_get(list, i), "k", "");  // "" unless named
    if (identifier[0] != '\0') {
      entries.add(render_value_item(identifier, exchange.layout));
    }
  }
  return JsonObjectBuilder()
      .text("type", "valueRead")
      .take("resp", JsonObjectBuilder().take("list", entries.done()).done())
      .done();
}

}  // namespace tavio
