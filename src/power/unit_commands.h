// The device tool's commands for power units: the device list and a unit's status report as
// records (unit_records.h), a unit's port count, the switching of one port; and the names
// the panel gives the kinds of unit.
#ifndef TAVIO_POWER_UNIT_COMMANDS_H
#define TAVIO_POWER_UNIT_COMMANDS_H

#include <optional>
#include <string>

#include "power/unit_records.h"
#include "tavio/power_unit.h"

namespace tavio {

/// The device list; nothing when the tool fails or the answer has no "list" array.
[[nodiscard]] std::optional<PowerUnitList> power_unit_list_collect();
/// The unit's port count as its device information (iotdevinfo) gives it to a device
/// command: ports_for_commands of the stated count, kUnknownPortCount when the tool fails,
/// the serial is empty or refused, or the answer has no "devinfo"."attr".
[[nodiscard]] int unit_port_count(const std::string& serial);
/// The unit's status report; nothing when the serial is empty or refused or the tool fails
/// or reports nothing.
[[nodiscard]] std::optional<UnitReport> unit_report_collect(const std::string& serial);
/// Switches port on or off and confirms it: "ON" or "OFF" as the unit reports the port
/// afterwards, nothing when the port is beyond the unit's count or the answer disagrees.
/// Only this unit's status report is asked again afterwards; its port count and the device
/// list stay as they were read.
[[nodiscard]] std::optional<std::string> devcmd_port_set(const std::string& serial, int port,
                                                         bool on);

/// "Integrated PMU", "External PMU" or "PDU".
[[nodiscard]] const char* power_unit_name(PowerUnitType type);
/// "Fail to get status. Please check the ... connection." wrapped to width.
[[nodiscard]] std::string power_unit_unreachable_text(PowerUnitType type, int width);

}  // namespace tavio

#endif
