// A power unit's status values as the panel shows them: port states, voltages, currents and
// temperature, read afresh from the unit for every value.
#ifndef TAVIO_POWER_UNIT_STATUS_H
#define TAVIO_POWER_UNIT_STATUS_H

#include <string>

#include "tavio/panel_layout.h"
#include "tavio/power_unit.h"

namespace tavio {

/// What a unit reports per port.
enum class PortQuantity {
  kState,          ///< "Port Status:", ON or OFF
  kInputVoltage,   ///< "Input Voltage:", PMUs
  kOutputVoltage,  ///< "Output Voltage:", PMUs
  kInputCurrent,   ///< "Input Current:", PMUs
  kOutputCurrent,  ///< "Output Current:", PMUs
  kVoltage,        ///< "Voltage:", PDUs
  kCurrent,        ///< "Current:", PDUs
};

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
/// Prints the unit's values for the service dump; nothing for an empty serial.
void pmu_dump_unit(PowerUnitType type, const std::string& serial, const PanelLayout& layout);

}  // namespace tavio

#endif
