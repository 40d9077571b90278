// A power unit's "Device Config" submenu, built from the unit's configuration record:
// power-on delay, ignition sense, output voltages, switching schedules, port control and
// thresholds. Everything but the port controls is text fixed when the menu is built; the
// panel reads and writes the port controls by their keys.
#ifndef TAVIO_POWER_UNIT_CONFIG_H
#define TAVIO_POWER_UNIT_CONFIG_H

#include <cstddef>
#include <string>

#include "power/unit_records.h"
#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"
#include "tavio/power_unit.h"
#include "text/text_buffer.h"

namespace tavio {

/// {"id": "pmu_dev_conf_<serial>", "t": "Device Config", "m": [...]}.
[[nodiscard]] JsonPtr pmu_config_menu(PowerUnitType type, int port_count, const std::string& serial,
                                      const UnitConfig& config,
                                      const ProtectedPorts& protected_ports,
                                      const PanelLayout& layout);
/// A text item of one label and value whose id is id_prefix and the unit's serial.
[[nodiscard]] JsonPtr unit_text_item(const char* id_prefix, const std::string& serial,
                                     const char* title, const char* label, const std::string& value,
                                     const PanelLayout& layout);
/// A text item of one line per unprotected port, labelled like title ("Max. Voltage 2:"),
/// each value followed by suffix, "N/A" for a missing one; null when no port is listed.
[[nodiscard]] JsonPtr menu_item_port_values(const PortTexts& values, int port_count,
                                            const std::string& id, const char* title,
                                            const char* suffix,
                                            const ProtectedPorts& protected_ports,
                                            const PanelLayout& layout);
/// {"id": "pmu_thres_<serial>", "t": "Thresholds", "m": [...]}, at least the separator.
[[nodiscard]] JsonPtr pmu_threshold_menu(int port_count, const std::string& serial,
                                         const UnitConfig& config,
                                         const ProtectedPorts& protected_ports,
                                         const PanelLayout& layout);
/// The on/off control of the one unprotected port, or a "Port Control" submenu of several;
/// null when no port may be switched, or when the port controls' identifiers cannot carry
/// the serial whole (then they would name another unit or none).
[[nodiscard]] JsonPtr pmu_port_control_menu(int port_count, const std::string& serial,
                                            const ProtectedPorts& protected_ports,
                                            const PanelLayout& layout);
/// A "Schedules" submenu of the schedules, or the text item "No Schedule Defined".
[[nodiscard]] JsonPtr pmu_schedule_menu(int port_count, const std::string& serial,
                                        const std::vector<UnitSchedule>& schedules,
                                        const ProtectedPorts& protected_ports,
                                        const PanelLayout& layout);
/// Appends one "Port Action:" line per unprotected port of a schedule's actions to text (a
/// "\n" first unless text is empty); returns the number of characters that went in.
[[nodiscard]] std::size_t pmu_schedule_actions(int port_count, const PortTexts& actions,
                                               const ProtectedPorts& protected_ports,
                                               const PanelLayout& layout, TextBuffer& text);

}  // namespace tavio

#endif
