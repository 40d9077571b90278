// Power units attached to the router and reached through the device tool.
#ifndef TAVIO_POWER_UNIT_H
#define TAVIO_POWER_UNIT_H

namespace tavio {

/// The kinds of power unit, by product name.
enum class PowerUnitType : int {
  kIntegratedPmu = 1,  ///< "RQ-CELL", and any model not known here
  kExternalPmu = 2,    ///< "RQ-PWRU"
  kPdu = 3,            ///< "RQ-DIST", a power-distribution unit
};

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

}  // namespace tavio

#endif
