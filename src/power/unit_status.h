// A power unit's status values as the panel shows them: port states, voltages, currents and
// temperature, rendered from the unit's status report (unit_report_collect). The report is
// asked of the device once in a run and kept; a port switch makes only it stale.
#ifndef TAVIO_POWER_UNIT_STATUS_H
#define TAVIO_POWER_UNIT_STATUS_H

#include <string>

#include "tavio/panel_layout.h"
#include "tavio/power_unit.h"

namespace tavio {

/// The label of one of a unit's ports: name, " " and the port, then after and ":" ("Port 2
/// Status:", "Max. Voltage 2:"). A one-port unit has no port numbers in its labels ("Port
/// Status:").
[[nodiscard]] std::string port_label(const char* name, const char* after, int port, int port_count);

/// One line per port that reports the quantity ("Port 2 Status:" with several ports), or the
/// unit's unreachable message. Voltage and current of a PDU are left as laid out; the PMU
/// texts are finished for the theme.
[[nodiscard]] std::string render_port_quantity(PortQuantity quantity, PowerUnitType type,
                                               const std::string& serial,
                                               const PanelLayout& layout);
/// "Temperature:" of the unit, or its unreachable message.
[[nodiscard]] std::string pmu_render_temperature(PowerUnitType type, const std::string& serial,
                                                 const PanelLayout& layout);
/// "ON", "OFF", or "" when the unit or the port cannot be read.
[[nodiscard]] std::string pmu_port_state(const std::string& serial, int port);

}  // namespace tavio

#endif
