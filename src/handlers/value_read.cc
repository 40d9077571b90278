#include "handlers/value_read.h"

#include <cstring>
#include <optional>
#include <string>

#include "handlers/item_rows.h"
#include "layout/panel_text.h"
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

/// What a row hands its reader: the identifier's suffix as read, the row's argument and the
/// panel's grid.
struct ValueRequest {
  const ItemArgs& args;
  int arg;
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

// Power units, external power and batteries are not served yet: their items read "".
Text read_unavailable(const ValueRequest& /*item*/) { return std::nullopt; }

// Power-unit types handed to the power rows.
constexpr int kIntegratedPmu = 1;
constexpr int kExternalPmu = 2;
constexpr int kPdu = 3;

struct ValueRow {
  ItemKey key;
  int arg;  ///< a traffic direction or a power-unit type
  Text (*read)(const ValueRequest& item);
};

constexpr int kIn = static_cast<int>(TrafficDirection::kIn);
constexpr int kOut = static_cast<int>(TrafficDirection::kOut);
constexpr ItemSuffix kExact = ItemSuffix::kNone;
constexpr ItemSuffix kNumber = ItemSuffix::kNumber;
constexpr ItemSuffix kUnit = ItemSuffix::kUnitSerial;

// Tried strictly in this order; the first row that matches decides.
const ValueRow kValueRows[] = {
    {{"ha_status", kExact}, 0, read_ha_status},
    {{"systime", kExact}, 0, read_system_time},
    {{"sysuptime", kExact}, 0, read_uptime},
    {{"cpuload", kExact}, 0, read_cpu_load},
    {{"lan_port_status_", kNumber}, 0, read_lan_port_status},
    {{"lan_ip", kExact}, 0, read_lan_ip},
    {{"wan_status_", kNumber}, 0, read_wan_status},
    {{"vpn_status_", kNumber}, 0, read_vpn_status},
    {{"wans_throughput_in", kExact}, kIn, read_throughput},
    {{"wans_throughput_out", kExact}, kOut, read_throughput},
    {{"wans_data_transfer", kExact}, 0, read_data_transfer},
    {{"local_pmu_status_port_", kUnit}, kIntegratedPmu, read_unavailable},
    {{"ext_pmu_status_port_", kUnit}, kExternalPmu, read_unavailable},
    {{"pdu_status_port_", kUnit}, kPdu, read_unavailable},
    {{"pmu_port_ctrl_", ItemSuffix::kPortControl}, 0, read_unavailable},
    {{"local_pmu_status_temp_", kUnit}, kIntegratedPmu, read_unavailable},
    {{"ext_pmu_status_temp_", kUnit}, kExternalPmu, read_unavailable},
    {{"pdu_status_temp_", kUnit}, kPdu, read_unavailable},
    {{"local_pmu_status_in_volt_", kUnit}, kIntegratedPmu, read_unavailable},
    {{"ext_pmu_status_in_volt_", kUnit}, kExternalPmu, read_unavailable},
    {{"local_pmu_status_out_volt_", kUnit}, kIntegratedPmu, read_unavailable},
    {{"ext_pmu_status_out_volt_", kUnit}, kExternalPmu, read_unavailable},
    {{"pdu_status_volt_", kUnit}, kPdu, read_unavailable},
    {{"local_pmu_status_in_curr_", kUnit}, kIntegratedPmu, read_unavailable},
    {{"ext_pmu_status_in_curr_", kUnit}, kExternalPmu, read_unavailable},
    {{"local_pmu_status_out_curr_", kUnit}, kIntegratedPmu, read_unavailable},
    {{"ext_pmu_status_out_curr_", kUnit}, kExternalPmu, read_unavailable},
    {{"pdu_status_curr_", kUnit}, kPdu, read_unavailable},
    {{"lan_port_speed", kExact}, 0, read_lan_port_speed},
    {{"wan_port_speed_", kNumber}, 0, read_wan_port_speed},
    {{"remote_assist", kExact}, 0, read_remote_assist},
    {{"pwr_consume_status_input_power", kExact}, 0, read_unavailable},
    {{"pwr_consume_status_battery_", ItemSuffix::kBatteryNumber}, 0, read_unavailable},
    {{"pwr_consume_status_battery", kExact}, 0, read_unavailable},
    {{"wifi_ap_status", kExact}, 0, read_wifi_ap},
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
      (row == nullptr || !args) ? std::nullopt : row->read(ValueRequest{*args, row->arg, layout});
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
