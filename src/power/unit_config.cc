#include "power/unit_config.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "layout/item_ids.h"
#include "layout/menu_items.h"
#include "layout/panel_text.h"
#include "platform/json_get.h"

namespace tavio {
namespace {

// The device keeps each cron field in 8 bytes: 7 characters and the terminator.
constexpr std::size_t kCronFieldCapacity = 8;
constexpr std::size_t kCronFieldCount = 6;
// A schedule's frequency text is kept in 64 bytes.
constexpr std::size_t kFrequencyCapacity = 64;
// "No Schedule Defined" is wrapped into a small buffer.
constexpr std::size_t kNoScheduleCapacity = 32;

constexpr const char* kWeekdays[] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                     "Friday", "Saturday", "Sunday"};
constexpr const char* kMonths[] = {"January",   "February", "March",    "April",
                                   "May",       "June",     "July",     "August",
                                   "September", "October",  "November", "December"};

// The cron fields in their order; the sixth is not read.
enum CronField { kMinute, kHour, kDayOfMonth, kMonth, kDayOfWeek };
using CronFields = std::array<std::string, kCronFieldCount>;

bool is_empty(const char* text) { return text == nullptr || text[0] == '\0'; }

bool is_protected(int port, const ProtectedPorts& protected_ports) {
  return std::find(protected_ports.begin(), protected_ports.end(), port) != protected_ports.end();
}

std::string id_of(const char* format, const char* serial) {
  return format_text(kItemIdCapacity, format, serial);
}

// The key the panel reads and writes one port's on/off state by.
std::string port_key(const char* serial, int port) {
  return format_item_id(item::kPortControl, {port, serial});
}

// A text item of one label and value whose id is format with the unit's serial.
JsonPtr unit_text_item(const char* format, const char* serial, const char* title, const char* label,
                       const std::string& value, const PanelLayout& layout) {
  return menu_item_label_value(id_of(format, serial).c_str(), title, label, value.c_str(), layout);
}

// Volts per port from the members "r1", "r2", ...; the lines are labelled like the title.
JsonPtr volts_per_port(const json_t* values, int port_count, const char* id_format,
                       const char* serial, const char* title, const ProtectedPorts& protected_ports,
                       const PanelLayout& layout) {
  return menu_item_port_values(values, port_count, id_of(id_format, serial).c_str(), title,
                               {title, "", "r", "", " V"}, protected_ports, layout);
}

// A schedule's action for one port: "1" on, "0" off, "X" left as it is.
const char* port_action_name(const char* action) {
  if (action == nullptr) {
    return "N/A";
  }
  const std::string_view word = action;
  return word == "1" ? "ON" : word == "0" ? "OFF" : word == "X" ? "NO CHANGE" : "N/A";
}

// The fields as the device's "%s %s %s %s %s %s" reads them: runs of characters between
// white space; anything after the sixth is not looked at. A field that would not fit the
// device's 8 bytes makes the whole string unusable instead of being cut.
std::optional<CronFields> split_cron(const char* cron) {
  CronFields fields;
  const char* at = cron;
  for (std::string& field : fields) {
    while (std::isspace(static_cast<unsigned char>(*at)) != 0) {
      ++at;
    }
    const char* end = at;
    while (*end != '\0' && std::isspace(static_cast<unsigned char>(*end)) == 0) {
      ++end;
    }
    const auto length = static_cast<std::size_t>(end - at);
    if (length == 0 || length >= kCronFieldCapacity) {
      return std::nullopt;
    }
    field.assign(at, length);
    at = end;
  }
  return fields;
}

// Compared as unsigned numbers, so a negative minute or hour is no time of day either.
bool below(long number, unsigned long limit) { return static_cast<unsigned long>(number) < limit; }

// Day of week 1 to 7 is Monday to Sunday; 0 is deliberately no day, so such a schedule
// reads as daily, monthly or yearly.
const char* weekday_name(const std::string& field) {
  if (field == "*") {
    return nullptr;
  }
  const long day = std::strtol(field.c_str(), nullptr, 10);
  return day >= 1 && day <= 7 ? kWeekdays[day - 1] : nullptr;
}

const char* month_name(const std::string& field) {
  const long month = std::strtol(field.c_str(), nullptr, 10);
  return month >= 1 && month <= 12 ? kMonths[month - 1] : "";
}

std::string frequency_of(const std::string& day_of_month, const std::string& month,
                         const std::string& day_of_week) {
  if (const char* weekday = weekday_name(day_of_week)) {
    return format_text(kFrequencyCapacity, "Weekly - %s", weekday);
  }
  if (day_of_month == "*") {
    return "Daily";
  }
  if (month == "*") {
    return format_text(kFrequencyCapacity, "Monthly - %s", day_of_month.c_str());
  }
  // An unknown month leaves its name empty, two blanks between the dash and the day.
  return format_text(kFrequencyCapacity, "Yearly - %s %s", month_name(month), day_of_month.c_str());
}

// One control: a read-write choice between "OFF" and "ON", never polled.
JsonPtr port_control_item(const char* id, const char* title, const std::string& key) {
  return menu_item_choice(id, title, title, MenuAccess::kReadWrite, key.c_str(), "OFF", "ON");
}

// Schedule (n)
//   Port actions, Execution Time, Frequency
JsonPtr schedule_item(const char* serial, int number, const ScheduleTime& time, const json_t* state,
                      int port_count, const ProtectedPorts& protected_ports,
                      const PanelLayout& layout) {
  TextBuffer text(kLongTextCapacity);
  if (pmu_schedule_actions(port_count, state, protected_ports, layout, text) > 0) {
    text.append("\n");
  }
  const std::string clock = format_text(kTextCapacity, "%02d:%02d", time.hour, time.minute);
  text.append(layout_label_value("Execution Time:", clock, layout));
  text.append("\n");
  text.append(layout_label_value("Frequency:", time.frequency, layout));
  const std::string id = format_text(kItemIdCapacity, "pmu_conf_sche_%s_%d", serial, number);
  const std::string title = format_text(kTextCapacity, "Schedule (%d)", number);
  return menu_item_text(id.c_str(), title.c_str(), text.c_str(), layout);
}

}  // namespace

ProtectedPorts protected_ports_of(const json_t* mgmt_port) {
  ProtectedPorts ports;
  for (std::size_t i = 0; i < json_array_size(mgmt_port); ++i) {
    const json_t* port = json_array_get(mgmt_port, i);
    if (json_is_integer(port)) {
      ports.push_back(static_cast<int>(json_integer_value(port)));
    }
  }
  return ports;
}

// Device Config
//   Power On Delay          when "resetDelay" is set
//   Ignition Sense          PMUs only
//   Output Voltage          integrated PMU only, one line per port
//   Schedules               when "schedule" is there
//   Port Control
//   Thresholds
JsonPtr pmu_config_menu(PowerUnitType type, int port_count, const char* serial,
                        const json_t* config, const ProtectedPorts& protected_ports,
                        const PanelLayout& layout) {
  if (config == nullptr || serial == nullptr) {
    return nullptr;
  }
  JsonPtr items = json_own(json_array());
  const char* delay = jget_string(config, "resetDelay", "");
  if (!is_empty(delay)) {
    json_append(items.get(), unit_text_item("pmu_conf_pwr_on_delay_%s", serial, "Power On Delay",
                                            "Power On Delay:",
                                            format_text(kTextCapacity, "%s sec", delay), layout));
  }
  const bool pmu = type == PowerUnitType::kIntegratedPmu || type == PowerUnitType::kExternalPmu;
  if (pmu) {
    const bool ignition = std::string_view(jget_string(config, "startOnIgnition", "")) == "1";
    json_append(items.get(),
                unit_text_item("pmu_conf_ign_sense_%s", serial, "Ignition Sense",
                               "Ignition Sense:", ignition ? "Enable" : "Disable", layout));
  }
  const json_t* out_v = json_object_get(config, "out_v");
  if (type == PowerUnitType::kIntegratedPmu && port_count >= 1 && out_v != nullptr) {
    json_append(items.get(), volts_per_port(out_v, port_count, "pmu_conf_out_volt_%s", serial,
                                            "Output Voltage", {}, layout));
  }
  if (const json_t* schedules = json_object_get(config, "schedule")) {
    json_append(items.get(),
                pmu_schedule_menu(port_count, serial, schedules, protected_ports, layout));
  }
  json_append(items.get(), pmu_port_control_menu(port_count, serial, protected_ports, layout));
  json_append(items.get(), pmu_threshold_menu(port_count, serial, config, protected_ports, layout));
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(id_of("pmu_dev_conf_%s", serial).c_str(), "Device Config",
                           std::move(items));
}

JsonPtr menu_item_port_values(const json_t* values, int port_count, const char* id,
                              const char* title, const PortValueList& list,
                              const ProtectedPorts& protected_ports, const PanelLayout& layout) {
  TextBuffer text(kLongTextCapacity);
  // Once the text is full nothing more goes in, so a damaged port count ends the walk early.
  for (int port = 1; port <= port_count && !text.cut(); ++port) {
    if (is_protected(port, protected_ports)) {
      continue;
    }
    // A one-port unit has no port numbers in its labels.
    const std::string label =
        port_count != 1
            ? format_text(kTextCapacity, "%s %d%s:", list.label_prefix, port, list.label_suffix)
            : format_text(kTextCapacity, "%s%s:", list.label_prefix, list.label_suffix);
    const std::string key = format_text(kItemIdCapacity, "%s%d", list.key_prefix, port);
    const char* value = jget_string(values, key.c_str(), list.fallback);
    // A port without a value still gets its line.
    const std::string shown = is_empty(value)
                                  ? std::string("N/A")
                                  : format_text(kTextCapacity, "%s%s", value, list.value_suffix);
    if (!text.empty()) {
      text.append("\n");
    }
    text.append(layout_label_value(label, shown, layout));
  }
  if (text.empty() || is_empty(id) || is_empty(title)) {
    return nullptr;
  }
  return menu_item_text(id, title, text.c_str(), layout);
}

// Thresholds
//   Max. Temperature        when "over_t" is set
//   Max. Voltage            one line per unprotected port
//   Min. Voltage            one line per unprotected port
JsonPtr pmu_threshold_menu(int port_count, const char* serial, const json_t* config,
                           const ProtectedPorts& protected_ports, const PanelLayout& layout) {
  if (serial == nullptr) {
    return nullptr;
  }
  JsonPtr items = json_own(json_array());
  const char* over_t = jget_string(config, "over_t", "");
  if (!is_empty(over_t)) {
    json_append(
        items.get(),
        unit_text_item("pmu_thres_max_temp_%s", serial, "Max. Temperature", "Max. Temperature:",
                       format_text(kTextCapacity, "%s degree Cel.", over_t), layout));
  }
  if (const json_t* over_v = json_object_get(config, "over_v")) {
    json_append(items.get(), volts_per_port(over_v, port_count, "pmu_thres_max_in_volt_%s", serial,
                                            "Max. Voltage", protected_ports, layout));
  }
  if (const json_t* under_v = json_object_get(config, "under_v")) {
    json_append(items.get(), volts_per_port(under_v, port_count, "pmu_thres_min_in_volt_%s", serial,
                                            "Min. Voltage", protected_ports, layout));
  }
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(id_of("pmu_thres_%s", serial).c_str(), "Thresholds", std::move(items));
}

// Port Control
//   one allowed port: its control itself
//   several: Port 1 Control ... Port N Control
JsonPtr pmu_port_control_menu(int port_count, const char* serial,
                              const ProtectedPorts& protected_ports, const PanelLayout& layout) {
  if (port_count < 1 || serial == nullptr) {
    return nullptr;
  }
  std::vector<int> allowed;
  for (int port = 1; port <= port_count; ++port) {
    if (!is_protected(port, protected_ports)) {
      allowed.push_back(port);
    }
  }
  if (allowed.empty()) {
    return nullptr;
  }
  const std::string id = id_of("pmu_port_ctrl_%s", serial);
  if (allowed.size() == 1) {
    return port_control_item(id.c_str(), "Port Control", port_key(serial, allowed.front()));
  }
  JsonPtr items = json_own(json_array());
  for (const int port : allowed) {
    const std::string key = port_key(serial, port);
    const std::string title = format_text(kTextCapacity, "Port %d Control", port);
    json_append(items.get(), port_control_item(key.c_str(), title.c_str(), key));
  }
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(id.c_str(), "Port Control", std::move(items));
}

// Schedules
//   Schedule (1) ... Schedule (n), numbered by what is shown, so skipped entries leave no gap
JsonPtr pmu_schedule_menu(int port_count, const char* serial, const json_t* schedules,
                          const ProtectedPorts& protected_ports, const PanelLayout& layout) {
  if (serial == nullptr || !json_is_array(schedules)) {
    return nullptr;
  }
  JsonPtr items = json_own(json_array());
  int shown = 0;
  for (std::size_t i = 0; i < json_array_size(schedules); ++i) {
    const json_t* schedule = json_array_get(schedules, i);
    const std::optional<ScheduleTime> time =
        cron_to_schedule_time(jget_string(schedule, "cron", ""));
    const json_t* state = json_object_get(schedule, "state");
    if (!time || state == nullptr) {
      continue;
    }
    ++shown;
    json_append(items.get(),
                schedule_item(serial, shown, *time, state, port_count, protected_ports, layout));
  }
  const std::string id = id_of("pmu_conf_sche_menu_%s", serial);
  if (shown == 0) {
    const std::string text =
        cut_text(layout_wrap("No Schedule Defined", layout.chars_per_line), kNoScheduleCapacity);
    return menu_item_text(id.c_str(), "Schedules", text.c_str(), layout);
  }
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(id.c_str(), "Schedules", std::move(items));
}

std::size_t pmu_schedule_actions(int port_count, const json_t* state,
                                 const ProtectedPorts& protected_ports, const PanelLayout& layout,
                                 TextBuffer& text) {
  const std::size_t before = text.size();
  if (port_count < 1 || state == nullptr) {
    return 0;
  }
  for (int port = 1; port <= port_count && !text.cut(); ++port) {
    if (is_protected(port, protected_ports)) {
      continue;
    }
    const std::string label = port_count == 1 ? std::string("Port Action:")
                                              : format_text(kTextCapacity, "Port %d Action:", port);
    const std::string key = format_text(kItemIdCapacity, "r%d", port);
    if (!text.empty()) {
      text.append("\n");
    }
    text.append(layout_label_value(
        label, port_action_name(jget_string(state, key.c_str(), nullptr)), layout));
  }
  return text.size() - before;
}

std::optional<ScheduleTime> cron_to_schedule_time(const char* cron) {
  if (is_empty(cron)) {
    return std::nullopt;
  }
  const std::optional<CronFields> fields = split_cron(cron);
  if (!fields) {
    return std::nullopt;
  }
  const CronFields& field = *fields;
  const long minute = std::strtol(field[kMinute].c_str(), nullptr, 10);
  const long hour = std::strtol(field[kHour].c_str(), nullptr, 10);
  if (!below(minute, 60) || !below(hour, 24)) {
    return std::nullopt;
  }
  return ScheduleTime{static_cast<int>(hour), static_cast<int>(minute),
                      frequency_of(field[kDayOfMonth], field[kMonth], field[kDayOfWeek])};
}

}  // namespace tavio
