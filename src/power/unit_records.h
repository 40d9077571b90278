// Power units as records: the device list, a unit's details and configuration, and its status
// report, each read once from the device tool's JSON answer. The menus, the status rows and
// the dump render these records and never read an answer themselves. Every count and list a
// unit reports is bounded here, by the limits named below.
#ifndef TAVIO_POWER_UNIT_RECORDS_H
#define TAVIO_POWER_UNIT_RECORDS_H

#include <jansson.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tavio/power_unit.h"

namespace tavio {

/// The most ports a unit can have. The router manages one-port and two-port PMUs and a
/// four-port PDU; distribution units are built with up to eight or sixteen outlets, and 32
/// leaves room beyond those. A larger count is no count a unit has: it reads as a count that
/// cannot be read, so a damaged or hostile answer never sizes a menu, a text or a loop.
constexpr int kMaxPortCount = 32;
/// The port count taken for a unit whose count cannot be read (an empty "port_num", one
/// above kMaxPortCount, a device tool that fails): one port, so that its first port can still
/// be read and switched.
constexpr int kUnknownPortCount = 1;
/// The most units of one device list that are read. A router has one integrated PMU, at most
/// one PDU and the external PMUs of its own installation, a handful at most; 16 leaves room.
/// Units after that are not listed.
constexpr std::size_t kMaxPowerUnits = 16;
/// The most switching schedules of one unit that are shown. A unit keeps a few (the example
/// units two); 16 leaves room, and keeps one unit's menu a few kilobytes.
constexpr std::size_t kMaxSchedules = 16;

/// A unit's "port_num" as its device information gives it. The readers differ only for a
/// unit that leaves the member out, and each says so by its name below.
struct PortCount {
  /// Nothing when "port_num" is missing or not a text; kUnknownPortCount when it cannot be
  /// read; otherwise the number (0 or less for a unit without ports).
  std::optional<int> stated;
};
/// The count a unit's menus are built for: a unit that leaves it out has one port.
[[nodiscard]] inline int ports_for_menus(const PortCount& count) {
  return count.stated.value_or(1);
}
/// The count a device command works with: a unit that leaves it out has none, and then
/// counts as unreachable.
[[nodiscard]] inline int ports_for_commands(const PortCount& count) {
  return count.stated.value_or(0);
}

/// Texts a unit gives per port, under a key of a prefix and the port ("r2", "vi2"); "" where
/// it gives none. Only ports 1 to kMaxPortCount are kept.
class PortTexts {
 public:
  /// The text of port (1 to kMaxPortCount); "" for any other port or one without a text.
  [[nodiscard]] const std::string& at(int port) const;
  /// Keeps text for port; ports outside 1 to kMaxPortCount are passed over.
  void set(int port, std::string text);

 private:
  std::vector<std::string> texts_;  // port 1 first, as far as the highest port with a text
};

/// When a schedule runs, as read from its cron string.
struct ScheduleTime {
  int hour = 0;
  int minute = 0;
  std::string frequency;  ///< "Daily", "Weekly - Monday", ...; at most 63 characters
};
/// One switching schedule a unit can show: when it runs, and its action per port under "r%d"
/// ("1" on, "0" off, "X" no change).
struct UnitSchedule {
  ScheduleTime time;
  PortTexts actions;
};

/// An external PMU's network settings; "" where the unit leaves a member out.
struct UnitNetwork {
  std::string ip;
  std::string netmask;
  std::string gateway;
  std::string dns;
  bool dhcp = false;  ///< "DHCP" is exactly "1"
};

/// A unit's "config": what its "Device Config" and "Network" submenus show. An optional member
/// is nothing where the unit leaves its key out.
struct UnitConfig {
  std::string reset_delay;                  ///< "resetDelay", seconds
  bool starts_on_ignition = false;          ///< "startOnIgnition" is exactly "1"
  std::optional<PortTexts> output_voltage;  ///< "out_v"
  /// "schedule" when it is an array: the schedules with a usable time and a state, in order,
  /// at most kMaxSchedules.
  std::optional<std::vector<UnitSchedule>> schedules;
  std::string max_temperature;           ///< "over_t"
  std::optional<PortTexts> max_voltage;  ///< "over_v"
  std::optional<PortTexts> min_voltage;  ///< "under_v"
  std::optional<UnitNetwork> network;    ///< "network"
};

/// Port numbers the panel neither lists nor offers for switching: a PDU's management ports.
using ProtectedPorts = std::vector<int>;

/// A unit's "devinfo".
struct UnitDetails {
  std::string serial;  ///< "serial_num": the unit as its menus' identifiers name it
  std::string name;    ///< "prod_name"
  std::string firmware;
  std::string hardware_revision;
  std::optional<PortCount> ports;   ///< nothing without "attr"
  ProtectedPorts management_ports;  ///< the integers of "mgmt_port" that name a port
};

/// One element of the device list.
struct PowerUnit {
  std::string model;  ///< "prod"
  PowerUnitType type = PowerUnitType::kIntegratedPmu;
  std::string serial;                  ///< "sn": the handle of the device commands
  std::optional<UnitDetails> details;  ///< nothing without "devinfo"
  std::optional<UnitConfig> config;    ///< nothing without "config"
};
struct PowerUnitList {
  std::vector<PowerUnit> items;  ///< in list order, at most kMaxPowerUnits
};

/// The quantities of a status report, indexed by PortQuantity.
constexpr std::size_t kPortQuantityCount = 7;
/// A unit's status report (the first element of "rpt").
struct UnitReport {
  std::string temperature;  ///< "t"
  std::array<PortTexts, kPortQuantityCount> ports;

  [[nodiscard]] const PortTexts& of(PortQuantity quantity) const {
    return ports.at(static_cast<std::size_t>(quantity));
  }
};

/// The one reader of a port count: "port_num" of attributes (a unit's "attr").
[[nodiscard]] PortCount port_count_of(const json_t* attributes);
/// The device list of a "capwap_cli iotdevlist" answer; nothing without a "list" array.
[[nodiscard]] std::optional<PowerUnitList> power_unit_list_of(const json_t* answer);
/// The port count of a "capwap_cli iotdevinfo" answer; nothing without "devinfo"."attr".
[[nodiscard]] std::optional<PortCount> unit_info_port_count_of(const json_t* answer);
/// The first element of a device answer's "rpt" array (borrowed); null without one.
[[nodiscard]] json_t* first_report(const json_t* answer);
/// The status report of a "capwap_cli iotstatus" answer; nothing without a first "rpt".
[[nodiscard]] std::optional<UnitReport> unit_report_of(const json_t* answer);
/// The time and frequency of a cron string "min hour day-of-month month day-of-week x"; nothing
/// when it is null, empty, has fewer than six fields or a field over 7 characters, or the time
/// is not a time of day.
[[nodiscard]] std::optional<ScheduleTime> cron_to_schedule_time(const char* cron);

/// The type of a product name; unknown models count as integrated PMUs.
[[nodiscard]] PowerUnitType power_unit_type_of(const char* product);
/// The units of the list of this type that have device information and a serial ("sn"), in
/// list order; they point into list.
[[nodiscard]] std::vector<const PowerUnit*> power_units_of_type(const PowerUnitList& list,
                                                                PowerUnitType type);

}  // namespace tavio

#endif
