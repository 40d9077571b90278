// A power unit's status values as the panel shows them: port states, voltages, currents and
// temperature, read afresh from the unit for every value.
#ifndef TAVIO_POWER_UNIT_STATUS_H
#define TAVIO_POWER_UNIT_STATUS_H

#include <map>
#include <optional>
#include <string>

#include "tavio/panel_layout.h"
#include "tavio/power_unit.h"

namespace tavio {

/// A unit's status report: every member by its key ("s1" the state of port 1, "vi2" the input
/// voltage of port 2, "t" the temperature, ...); a member that is not a text reads "".
using UnitReport = std::map<std::string, std::string>;
/// The unit's status report; nothing when the tool fails or reports nothing.
[[nodiscard]] std::optional<UnitReport> unit_report_collect(const std::string& serial);

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
