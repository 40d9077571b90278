// The device tool's commands for power units: the device list, a unit's port count, its
// status report and the switching of one port. Each runs "capwap_cli" and reads its JSON
// answer from the tool's standard output.
#ifndef TAVIO_POWER_DEVICE_COMMANDS_H
#define TAVIO_POWER_DEVICE_COMMANDS_H

#include <jansson.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tavio/json_ref.h"
#include "tavio/power_unit.h"

namespace tavio {

/// A unit answers the device tool within a second or two; one that has not answered by then
/// is treated as unreachable rather than keeping the panel waiting. The same bound ends a
/// panel reload that hangs in the background.
constexpr std::chrono::seconds kDeviceToolDeadline{10};

/// The device tool's answer to a read-only command (args: the command and its arguments),
/// asked once per run; null on any failure.
[[nodiscard]] JsonPtr device_answer(std::vector<std::string> args);
/// The first element of an answer's "rpt" array; null without one.
[[nodiscard]] JsonPtr first_report(const JsonPtr& answer);
/// The device list's "list" array (an empty one too); null when the tool fails or the
/// answer has no such array.
[[nodiscard]] JsonPtr devcmd_list();
/// The unit's port count: "port_num" of its device information, 0 when the answer lacks the
/// member; nothing when the tool fails, the serial is empty or refused, or "port_num" is
/// empty.
[[nodiscard]] std::optional<int> devcmd_info(const std::string& serial);
/// The first element of the unit's status report "rpt"; null on any failure.
[[nodiscard]] JsonPtr devcmd_status(const std::string& serial);
/// Switches port on or off and confirms it: "ON" or "OFF" as the unit reports the port
/// afterwards, nothing when the port is beyond the unit's count or the answer disagrees.
[[nodiscard]] std::optional<std::string> devcmd_port_set(const std::string& serial, int port,
                                                         bool on);

/// The port count taken for a unit whose own count cannot be read: one port, so that its
/// first port can still be read and switched.
constexpr int kUnknownPortCount = 1;

/// The type of a product name; unknown models count as integrated PMUs.
[[nodiscard]] PowerUnitType power_unit_type_of(const char* product);
/// "Integrated PMU", "External PMU" or "PDU".
[[nodiscard]] const char* power_unit_name(PowerUnitType type);
/// "Fail to get status. Please check the ... connection." wrapped to width.
[[nodiscard]] std::string power_unit_unreachable_text(PowerUnitType type, int width);
/// The records of the device list of this type that have device information and a serial
/// ("sn"), in list order; borrowed from list.
[[nodiscard]] std::vector<json_t*> power_units_of_type(const json_t* list, PowerUnitType type);

}  // namespace tavio

#endif
