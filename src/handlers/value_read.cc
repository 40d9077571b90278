#include "handlers/value_read.h"

#include <cstring>
#include <optional>
#include <string>

#include "handlers/item_rows.h"
#include "layout/panel_text.h"
#include "power/external_power.h"
#include "power/unit_status.h"
#include "platform/json_get.h"
#include "platform/text_buffer.h"
#include "status/lan_ha_status.h"
#include "status/port_status.h"
#include "status/system_info.h"
#include "status/traffic_status.h"
#include "status/vpn_status.h"
#include "status/wan_status.h"
#include "status/wifi_status.h"

namespace tavio {
namespace {

// Seconds the panel shows a value before it reads it again.
constexpr int kItemTtl = 5;

using Text = std::optional<std::string>;

/// What a row hands its reader: the identifier's suffix as read, the row's arguments and
/// the panel's grid.
struct ValueRequest {
  const ItemArgs& args;
  int arg;
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
  return render_throughput(static_cast<TrafficDirection>(item.arg), item.layout);
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
  return render_port_quantity(static_cast<PortQuantity>(item.arg), item.unit, item.args.unit,
                              item.layout);
}

Text read_unit_temperature(const ValueRequest& item) {
  return pmu_render_temperature(item.unit, item.args.unit, item.layout);
}

Text read_port_control(const ValueRequest& item) {
  return pmu_port_state(item.args.unit, item.args.number);
}

Text read_input_power(const ValueRequest& item) {
  return extpower_render_input_power(item.layout);
}
Text read_battery(const ValueRequest& item) {
  return battery_render_one(item.args.number, item.layout);
}
Text read_batteries(const ValueRequest& item) { return battery_render_all(item.layout); }

struct ValueRow {
  ItemKey key;
  Text (*read)(const ValueRequest& item);
  int arg = 0;  ///< a traffic direction or a port quantity
  PowerUnitType unit = PowerUnitType::kIntegratedPmu;
};

constexpr int kIn = static_cast<int>(TrafficDirection::kIn);
constexpr int kOut = static_cast<int>(TrafficDirection::kOut);
constexpr ItemSuffix kExact = ItemSuffix::kNone;
constexpr ItemSuffix kNumber = ItemSuffix::kNumber;
constexpr ItemSuffix kUnit = ItemSuffix::kUnitSerial;
constexpr PowerUnitType kLocal = PowerUnitType::kIntegratedPmu;
constexpr PowerUnitType kExternal = PowerUnitType::kExternalPmu;
constexpr PowerUnitType kPdu = PowerUnitType::kPdu;
constexpr int kState = static_cast<int>(PortQuantity::kState);
constexpr int kInVolt = static_cast<int>(PortQuantity::kInputVoltage);
constexpr int kOutVolt = static_cast<int>(PortQuantity::kOutputVoltage);
constexpr int kInCurr = static_cast<int>(PortQuantity::kInputCurrent);
constexpr int kOutCurr = static_cast<int>(PortQuantity::kOutputCurrent);
constexpr int kVolt = static_cast<int>(PortQuantity::kVoltage);
constexpr int kCurr = static_cast<int>(PortQuantity::kCurrent);

// Tried strictly in this order; the first row that matches decides.
const ValueRow kValueRows[] = {
    {{"ha_status", kExact}, read_ha_status},
    {{"systime", kExact}, read_system_time},
    {{"sysuptime", kExact}, read_uptime},
    {{"cpuload", kExact}, read_cpu_load},
    {{"lan_port_status_", kNumber}, read_lan_port_status},
    {{"lan_ip", kExact}, read_lan_ip},
    {{"wan_status_", kNumber}, read_wan_status},
    {{"vpn_status_", kNumber}, read_vpn_status},
    {{"wans_throughput_in", kExact}, read_throughput, kIn},
    {{"wans_throughput_out", kExact}, read_throughput, kOut},
    {{"wans_data_transfer", kExact}, read_data_transfer},
    {{"local_pmu_status_port_", kUnit}, read_port_quantity, kState, kLocal},
    {{"ext_pmu_status_port_", kUnit}, read_port_quantity, kState, kExternal},
    {{"pdu_status_port_", kUnit}, read_port_quantity, kState, kPdu},
    {{"pmu_port_ctrl_", ItemSuffix::kPortControl}, read_port_control},
    {{"local_pmu_status_temp_", kUnit}, read_unit_temperature, 0, kLocal},
    {{"ext_pmu_status_temp_", kUnit}, read_unit_temperature, 0, kExternal},
    {{"pdu_status_temp_", kUnit}, read_unit_temperature, 0, kPdu},
    {{"local_pmu_status_in_volt_", kUnit}, read_port_quantity, kInVolt, kLocal},
    {{"ext_pmu_status_in_volt_", kUnit}, read_port_quantity, kInVolt, kExternal},
    {{"local_pmu_status_out_volt_", kUnit}, read_port_quantity, kOutVolt, kLocal},
    {{"ext_pmu_status_out_volt_", kUnit}, read_port_quantity, kOutVolt, kExternal},
    {{"pdu_status_volt_", kUnit}, read_port_quantity, kVolt, kPdu},
    {{"local_pmu_status_in_curr_", kUnit}, read_port_quantity, kInCurr, kLocal},
    {{"ext_pmu_status_in_curr_", kUnit}, read_port_quantity, kInCurr, kExternal},
    {{"local_pmu_status_out_curr_", kUnit}, read_port_quantity, kOutCurr, kLocal},
    {{"ext_pmu_status_out_curr_", kUnit}, read_port_quantity, kOutCurr, kExternal},
    {{"pdu_status_curr_", kUnit}, read_port_quantity, kCurr, kPdu},
    {{"lan_port_speed", kExact}, read_lan_port_speed},
    {{"wan_port_speed_", kNumber}, read_wan_port_speed},
    {{"remote_assist", kExact}, read_remote_assist},
    {{"pwr_consume_status_input_power", kExact}, read_input_power},
    {{"pwr_consume_status_battery_", ItemSuffix::kBatteryNumber}, read_battery},
    {{"pwr_consume_status_battery", kExact}, read_batteries},
    {{"wifi_ap_status", kExact}, read_wifi_ap},
};

JsonPtr value_entry(const char* identifier, const char* text) {
  JsonPtr entry = json_own(json_pack("{ss,ss,si}", "k", identifier, "v", text, "ttl", kItemTtl));
  if (!entry) {
    // A text that JSON cannot carry (not UTF-8) still gets its answer.
    entry = json_own(json_pack("{ss,ss,si}", "k", identifier, "v", "", "ttl", kItemTtl));
  }
  return entry;
}

}  // namespace

JsonPtr render_value_item(const char* identifier, const PanelLayout& layout) {
  if (identifier == nullptr || identifier[0] == '\0') {
    return nullptr;
  }
  std::optional<ItemArgs> args;
  const ValueRow* row = match_item_row(kValueRows, identifier, &args);
  const Text text =
      (row == nullptr || !args) ? std::nullopt : row->read(ValueRequest{*args, row->arg, row->unit, layout});
  return value_entry(identifier, text ? text->c_str() : "");
}

JsonPtr handle_value_read(const json_t* req, const Exchange& exchange) {
  if (req == nullptr) {
    return nullptr;
  }
  JsonPtr entries = json_own(json_array());
  const json_t* list = json_object_get(req, "list");
  if (json_is_array(list)) {
    for (std::size_t i = 0; i < json_array_size(list); ++i) {
      const json_t* element = json_array_get(list, i);
      const char* identifier = jget_string(element, "k", "");
      if (!json_is_object(element) || identifier[0] == '\0') {
        continue;
      }
      if (JsonPtr entry = render_value_item(identifier, exchange.layout)) {
        json_array_append_new(entries.get(), entry.release());
      }
    }
  }
  return json_own(json_pack("{ss,s{so}}", "type", "valueRead", "resp", "list", entries.release()));
}

}  // namespace tavio
