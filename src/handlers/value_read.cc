#include "handlers/value_read.h"

#include <cstring>
#include <optional>
#include <string>

#include "platform/json_get.h"
#include "layout/panel_text.h"
#include "menus/display_prefs.h"
#include "platform/numbers.h"
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

/// What a row hands its renderer: the whole identifier and the part after the prefix.
struct ItemRequest {
  const char* identifier;
  const char* suffix;
  const PanelLayout& layout;
};

Text read_ha_status(const ItemRequest& item) { return render_ha_status(item.layout); }
Text read_system_time(const ItemRequest& item) { return render_system_time(item.layout); }
Text read_uptime(const ItemRequest& item) { return render_uptime(item.layout); }
Text read_cpu_load(const ItemRequest& item) { return render_cpu_load(item.layout); }
Text read_lan_ip(const ItemRequest& item) { return render_lan_ip(item.layout); }
Text read_throughput_in(const ItemRequest& item) {
  return render_throughput(kDirectionIn, item.layout);
}
Text read_throughput_out(const ItemRequest& item) {
  return render_throughput(kDirectionOut, item.layout);
}
Text read_data_transfer(const ItemRequest& item) { return render_data_transfer(item.layout); }
Text read_remote_assist(const ItemRequest& /*item*/) { return remote_assist_get(); }
Text read_wifi_ap(const ItemRequest& item) { return render_wifi_ap(item.layout); }

Text read_lan_port_status(const ItemRequest& item) {
  const std::optional<int> port = scan_int(item.suffix);
  return port ? render_lan_port_status(*port, item.layout) : std::nullopt;
}

Text read_wan_status(const ItemRequest& item) {
  const std::optional<int> id = scan_int(item.suffix);
  return id ? render_wan_status(*id, item.layout) : std::nullopt;
}

Text read_vpn_status(const ItemRequest& item) {
  const std::optional<int> id = scan_int(item.suffix);
  return id ? Text(render_vpn_status(*id, item.layout)) : std::nullopt;
}

Text read_lan_port_speed(const ItemRequest& item) {
  const Text media = port_media_get(0);
  if (!media) {
    return std::nullopt;
  }
  return cut_text(layout_label_value("LAN speed:", *media, item.layout), kTextCapacity);
}

Text read_wan_port_speed(const ItemRequest& item) {
  const std::optional<int> port = scan_int(item.suffix);
  return port ? port_media_get(*port) : std::nullopt;
}

// Power units, external power and batteries are not served yet: their items read "".
Text read_unavailable(const ItemRequest& /*item*/) { return std::nullopt; }

enum class Match { kExact, kPrefix };

struct ValueRow {
  const char* name;
  Match match;
  Text (*read)(const ItemRequest& item);
};

// Tried strictly in this order; the first row that matches decides.
const ValueRow kValueRows[] = {
    {"ha_status", Match::kExact, read_ha_status},
    {"systime", Match::kExact, read_system_time},
    {"sysuptime", Match::kExact, read_uptime},
    {"cpuload", Match::kExact, read_cpu_load},
    {"lan_port_status_", Match::kPrefix, read_lan_port_status},
    {"lan_ip", Match::kExact, read_lan_ip},
    {"wan_status_", Match::kPrefix, read_wan_status},
    {"vpn_status_", Match::kPrefix, read_vpn_status},
    {"wans_throughput_in", Match::kExact, read_throughput_in},
    {"wans_throughput_out", Match::kExact, read_throughput_out},
    {"wans_data_transfer", Match::kExact, read_data_transfer},
    {"local_pmu_status_port_", Match::kPrefix, read_unavailable},
    {"ext_pmu_status_port_", Match::kPrefix, read_unavailable},
    {"pdu_status_port_", Match::kPrefix, read_unavailable},
    {"pmu_port_ctrl_", Match::kPrefix, read_unavailable},
    {"local_pmu_status_temp_", Match::kPrefix, read_unavailable},
    {"ext_pmu_status_temp_", Match::kPrefix, read_unavailable},
    {"pdu_status_temp_", Match::kPrefix, read_unavailable},
    {"local_pmu_status_in_volt_", Match::kPrefix, read_unavailable},
    {"ext_pmu_status_in_volt_", Match::kPrefix, read_unavailable},
    {"local_pmu_status_out_volt_", Match::kPrefix, read_unavailable},
    {"ext_pmu_status_out_volt_", Match::kPrefix, read_unavailable},
    {"pdu_status_volt_", Match::kPrefix, read_unavailable},
    {"local_pmu_status_in_curr_", Match::kPrefix, read_unavailable},
    {"ext_pmu_status_in_curr_", Match::kPrefix, read_unavailable},
    {"local_pmu_status_out_curr_", Match::kPrefix, read_unavailable},
    {"ext_pmu_status_out_curr_", Match::kPrefix, read_unavailable},
    {"pdu_status_curr_", Match::kPrefix, read_unavailable},
    {"lan_port_speed", Match::kExact, read_lan_port_speed},
    {"wan_port_speed_", Match::kPrefix, read_wan_port_speed},
    {"remote_assist", Match::kExact, read_remote_assist},
    {"pwr_consume_status_input_power", Match::kExact, read_unavailable},
    {"pwr_consume_status_battery_", Match::kPrefix, read_unavailable},
    {"pwr_consume_status_battery", Match::kExact, read_unavailable},
    {"wifi_ap_status", Match::kExact, read_wifi_ap},
};

const ValueRow* find_row(const char* identifier, const char** suffix) {
  for (const ValueRow& row : kValueRows) {
    const std::size_t length = std::strlen(row.name);
    if (row.match == Match::kExact ? std::strcmp(identifier, row.name) == 0
                                   : std::strncmp(identifier, row.name, length) == 0) {
      *suffix = identifier + (row.match == Match::kPrefix ? length : std::strlen(identifier));
      return &row;
    }
  }
  return nullptr;
}

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
  const char* suffix = "";
  const ValueRow* row = find_row(identifier, &suffix);
  const Text text =
      row == nullptr ? std::nullopt : row->read(ItemRequest{identifier, suffix, layout});
  return value_entry(identifier, text ? text->c_str() : "");
}

JsonPtr handle_value_read(const json_t* req, const char* serial, int theme_mode) {
  if (req == nullptr) {
    return nullptr;
  }
  JsonPtr entries = json_own(json_array());
  const json_t* list = json_object_get(req, "list");
  if (json_is_array(list)) {
    std::int32_t font_size = 1;
    std::int32_t lines = 4;
    std::int32_t chars_per_line = 21;
    load_font_settings(serial, &lines, &font_size, &chars_per_line);
    PanelLayout layout;
    make_panel_layout(layout, theme_mode, font_size, chars_per_line, lines);
    for (std::size_t i = 0; i < json_array_size(list); ++i) {
      const json_t* element = json_array_get(list, i);
      const char* identifier = jget_string(element, "k", "");
      if (!json_is_object(element) || identifier[0] == '\0') {
        continue;
      }
      if (JsonPtr entry = render_value_item(identifier, layout)) {
        json_array_append_new(entries.get(), entry.release());
      }
    }
  }
  return json_own(json_pack("{ss,s{so}}", "type", "valueRead", "resp", "list", entries.release()));
}

}  // namespace tavio
