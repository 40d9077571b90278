// A power unit's "Device Config" submenu, built from the unit's "config" object: power-on
// delay, ignition sense, output voltages, switching schedules, port control and thresholds.
// Everything but the port controls is text fixed when the menu is built; the panel reads and
// writes the port controls by their keys. Also the reading of a schedule's cron string.
#ifndef TAVIO_POWER_UNIT_CONFIG_H
#define TAVIO_POWER_UNIT_CONFIG_H

#include <jansson.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/text_buffer.h"
#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"
#include "tavio/power_unit.h"

namespace tavio {

/// Port numbers the panel neither lists nor offers for switching: a PDU's management ports.
using ProtectedPorts = std::vector<int>;

/// When a schedule runs: hour, minute and how often, as the panel shows it.
struct ScheduleTime {
  int hour = 0;
  int minute = 0;
  std::string frequency;  ///< "Daily", "Weekly - Monday", ...; at most 63 characters
};

/// How a per-port list labels its lines and where it reads its values.
struct PortValueList {
  const char* label_prefix = "";  ///< "Max. Voltage": "Max. Voltage 2:", or "Max. Voltage:"
  const char* label_suffix = "";  ///< after the port number, before the colon
  const char* key_prefix = "r";   ///< the value of port 2 is member "r2"
  const char* fallback = "";      ///< read for a missing member
  const char* value_suffix = "";  ///< " V" behind every value that is there
};

/// The integers of a unit's "mgmt_port" array, in order; other elements are passed over.
/// Empty when the member is missing or not an array.
[[nodiscard]] ProtectedPorts protected_ports_of(const json_t* mgmt_port);

/// {"id": "pmu_dev_conf_<serial>", "t": "Device Config", "m": [...]}; null without config or
/// serial.
[[nodiscard]] JsonPtr pmu_config_menu(PowerUnitType type, int port_count, const char* serial,
                                      const json_t* config, const ProtectedPorts& protected_ports,
                                      const PanelLayout& layout);
/// A text item of one line per unprotected port, "N/A" for a missing value; null when no
/// port is listed or id or title is missing.
[[nodiscard]] JsonPtr menu_item_port_values(const json_t* values, int port_count, const char* id,
                                            const char* title, const PortValueList& list,
                                            const ProtectedPorts& protected_ports,
                                            const PanelLayout& layout);
/// {"id": "pmu_thres_<serial>", "t": "Thresholds", "m": [...]}, at least the separator; null
/// without serial.
[[nodiscard]] JsonPtr pmu_threshold_menu(int port_count, const char* serial, const json_t* config,
                                         const ProtectedPorts& protected_ports,
                                         const PanelLayout& layout);
/// The on/off control of the one unprotected port, or a "Port Control" submenu of several;
/// null when no port may be switched or the serial is missing.
[[nodiscard]] JsonPtr pmu_port_control_menu(int port_count, const char* serial,
                                            const ProtectedPorts& protected_ports,
                                            const PanelLayout& layout);
/// A "Schedules" submenu of the usable schedules, or the text item "No Schedule Defined";
/// null without serial or when schedules is not an array.
[[nodiscard]] JsonPtr pmu_schedule_menu(int port_count, const char* serial, const json_t* schedules,
                                        const ProtectedPorts& protected_ports,
                                        const PanelLayout& layout);
/// Appends one "Port Action:" line per unprotected port of a schedule's state to text (a
/// "\n" first unless text is empty); returns the number of characters that went in.
[[nodiscard]] std::size_t pmu_schedule_actions(int port_count, const json_t* state,
                                               const ProtectedPorts& protected_ports,
                                               const PanelLayout& layout, TextBuffer& text);
/// The time and frequency of a cron string "min hour day-of-month month day-of-week x"; nothing
/// when it is null, empty, has fewer than six fields or a field over 7 characters, or the time
/// is not a time of day.
[[nodiscard]] std::optional<ScheduleTime> cron_to_schedule_time(const char* cron);

}  // namespace tavio

#endif
