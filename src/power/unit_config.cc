#include "power/unit_config.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "layout/panel_text.h"
#include "power/unit_status.h"
#include "protocol/item_ids.h"
#include "protocol/json_build.h"
#include "protocol/menu_items.h"

namespace tavio {
namespace {

// The router keeps this text in a 32-byte buffer: on a narrow grid the wrapped text is cut
// there, as the panel has always shown it.
constexpr std::size_t kNoScheduleCapacity = 32;

bool is_protected(int port, const ProtectedPorts& protected_ports) {
  return std::find(protected_ports.begin(), protected_ports.end(), port) != protected_ports.end();
}

// Volts per port; the lines are labelled like the title.
JsonPtr volts_per_port(const PortTexts& values, int port_count, const char* id_prefix,
                       const std::string& serial, const char* title,
                       const ProtectedPorts& protected_ports, const PanelLayout& layout) {
  return menu_item_port_values(values, port_count, unit_item_id(id_prefix, serial), title, " V",
                               protected_ports, layout);
}

// A schedule's action for one port: "1" on, "0" off, "X" left as it is.
const char* port_action_name(std::string_view action) {
  return action == "1" ? "ON" : action == "0" ? "OFF" : action == "X" ? "NO CHANGE" : "N/A";
}

// One control: a read-write choice between "OFF" and "ON", never polled.
JsonPtr port_control_item(const char* id, const char* title, const std::string& key) {
  return menu_item_choice(id, title, title, MenuAccess::kReadWrite, key.c_str(), "OFF", "ON");
}

// Schedule (n)
//   Port actions, Execution Time, Frequency
JsonPtr schedule_item(const std::string& serial, int number, const UnitSchedule& schedule,
                      int port_count, const ProtectedPorts& protected_ports,
                      const PanelLayout& layout) {
  TextBuffer text(kLongTextCapacity);
  if (pmu_schedule_actions(port_count, schedule.actions, protected_ports, layout, text) > 0) {
    text.append("\n");
  }
  const ScheduleTime& time = schedule.time;
  const std::string clock = format_text(kTextCapacity, "%02d:%02d", time.hour, time.minute);
  text.append(layout_label_value("Execution Time:", clock, layout));
  text.append("\n");
  text.append(layout_label_value("Frequency:", time.frequency, layout));
  const std::string id =
      format_text(kItemIdCapacity, "pmu_conf_sche_%s_%d", serial.c_str(), number);
  const std::string title = format_text(kTextCapacity, "Schedule (%d)", number);
  return menu_item_text(id.c_str(), title.c_str(), text.c_str(), layout);
}

}  // namespace

JsonPtr unit_text_item(const char* id_prefix, const std::string& serial, const char* title,
                       const char* label, const std::string& value, const PanelLayout& layout) {
  return menu_item_label_value(unit_item_id(id_prefix, serial).c_str(), title, label, value.c_str(),
                               layout);
}

// Device Config
//   Power On Delay          when "resetDelay" is set
//   Ignition Sense          PMUs only
//   Output Voltage          integrated PMU only, one line per port
//   Schedules               when "schedule" is there
//   Port Control
//   Thresholds
JsonPtr pmu_config_menu(PowerUnitType type, int port_count, const std::string& serial,
                        const UnitConfig& config, const ProtectedPorts& protected_ports,
                        const PanelLayout& layout) {
  JsonArrayBuilder items;
  if (!config.reset_delay.empty()) {
    items.add(unit_text_item("pmu_conf_pwr_on_delay_", serial, "Power On Delay", "Power On Delay:",
                             format_text(kTextCapacity, "%s sec", config.reset_delay.c_str()),
                             layout));
  }
  const bool pmu = type == PowerUnitType::kIntegratedPmu || type == PowerUnitType::kExternalPmu;
  if (pmu) {
    items.add(unit_text_item("pmu_conf_ign_sense_", serial, "Ignition Sense", "Ignition Sense:",
                             config.starts_on_ignition ? "Enable" : "Disable", layout));
  }
  if (type == PowerUnitType::kIntegratedPmu && port_count >= 1 && config.output_voltage) {
    items.add(volts_per_port(*config.output_voltage, port_count, "pmu_conf_out_volt_", serial,
                             "Output Voltage", {}, layout));
  }
  if (config.schedules) {
    items.add(pmu_schedule_menu(port_count, serial, *config.schedules, protected_ports, layout));
  }
  items.add(pmu_port_control_menu(port_count, serial, protected_ports, layout));
  items.add(pmu_threshold_menu(port_count, serial, config, protected_ports, layout));
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(unit_item_id("pmu_dev_conf_", serial).c_str(), "Device Config",
                           items.done());
}

JsonPtr menu_item_port_values(const PortTexts& values, int port_count, const std::string& id,
                              const char* title, const char* suffix,
                              const ProtectedPorts& protected_ports, const PanelLayout& layout) {
  TextBuffer text(kLongTextCapacity);
  // Once the text is full nothing more goes in.
  for (int port = 1; port <= port_count && !text.cut(); ++port) {
    if (is_protected(port, protected_ports)) {
      continue;
    }
    const std::string& value = values.at(port);
    // A port without a value still gets its line.
    const std::string shown = value.empty()
                                  ? std::string("N/A")
                                  : format_text(kTextCapacity, "%s%s", value.c_str(), suffix);
    if (!text.empty()) {
      text.append("\n");
    }
    text.append(layout_label_value(port_label(title, "", port, port_count), shown, layout));
  }
  if (text.empty() || id.empty() || title[0] == '\0') {
    return nullptr;
  }
  return menu_item_text(id.c_str(), title, text.c_str(), layout);
}

// Thresholds
//   Max. Temperature        when "over_t" is set
//   Max. Voltage            one line per unprotected port
//   Min. Voltage            one line per unprotected port
JsonPtr pmu_threshold_menu(int port_count, const std::string& serial, const UnitConfig& config,
                           const ProtectedPorts& protected_ports, const PanelLayout& layout) {
  JsonArrayBuilder items;
  if (!config.max_temperature.empty()) {
    items.add(unit_text_item(
        "pmu_thres_max_temp_", serial, "Max. Temperature", "Max. Temperature:",
        format_text(kTextCapacity, "%s degree Cel.", config.max_temperature.c_str()), layout));
  }
  if (config.max_voltage) {
    items.add(volts_per_port(*config.max_voltage, port_count, "pmu_thres_max_in_volt_", serial,
                             "Max. Voltage", protected_ports, layout));
  }
  if (config.min_voltage) {
    items.add(volts_per_port(*config.min_voltage, port_count, "pmu_thres_min_in_volt_", serial,
                             "Min. Voltage", protected_ports, layout));
  }
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(unit_item_id("pmu_thres_", serial).c_str(), "Thresholds", items.done());
}

// Port Control
//   one allowed port: its control itself
//   several: Port 1 Control ... Port N Control
JsonPtr pmu_port_control_menu(int port_count, const std::string& serial,
                              const ProtectedPorts& protected_ports, const PanelLayout& layout) {
  // The key the panel reads and writes each port's on/off state by; made for every port or
  // for none, as the serial decides whether the identifiers carry it.
  std::vector<std::pair<int, std::string>> keys;
  for (int port = 1; port <= port_count; ++port) {
    if (is_protected(port, protected_ports)) {
      continue;
    }
    std::optional<std::string> key = exact_item_id(item::kPortControl, {port, serial});
    if (!key) {
      return nullptr;
    }
    keys.emplace_back(port, std::move(*key));
  }
  if (keys.empty()) {
    return nullptr;
  }
  const std::string id = unit_item_id("pmu_port_ctrl_", serial);
  if (keys.size() == 1) {
    return port_control_item(id.c_str(), "Port Control", keys.front().second);
  }
  JsonArrayBuilder items;
  for (const auto& [port, key] : keys) {
    const std::string title = format_text(kTextCapacity, "Port %d Control", port);
    items.add(port_control_item(key.c_str(), title.c_str(), key));
  }
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(id.c_str(), "Port Control", items.done());
}

// Schedules
//   Schedule (1) ... Schedule (n)
JsonPtr pmu_schedule_menu(int port_count, const std::string& serial,
                          const std::vector<UnitSchedule>& schedules,
                          const ProtectedPorts& protected_ports, const PanelLayout& layout) {
  const std::string id = unit_item_id("pmu_conf_sche_menu_", serial);
  if (schedules.empty()) {
    const std::string text =
        cut_text(layout_wrap("No Schedule Defined", layout.chars_per_line), kNoScheduleCapacity);
    return menu_item_text(id.c_str(), "Schedules", text.c_str(), layout);
  }
  JsonArrayBuilder items;
  int number = 0;
  for (const UnitSchedule& schedule : schedules) {
    items.add(schedule_item(serial, ++number, schedule, port_count, protected_ports, layout));
  }
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(id.c_str(), "Schedules", items.done());
}

std::size_t pmu_schedule_actions(int port_count, const PortTexts& actions,
                                 const ProtectedPorts& protected_ports, const PanelLayout& layout,
                                 TextBuffer& text) {
  const std::size_t before = text.size();
  for (int port = 1; port <= port_count && !text.cut(); ++port) {
    if (is_protected(port, protected_ports)) {
      continue;
    }
    if (!text.empty()) {
      text.append("\n");
    }
    text.append(layout_label_value(port_label("Port", " Action", port, port_count),
                                   port_action_name(actions.at(port)), layout));
  }
  return text.size() - before;
}

}  // namespace tavio
