// Item identifiers: the keys a menu hands the panel and the panel sends back in value reads
// and writes. A fixed name ("systime") or a family of a prefix and what follows it
// ("wan_status_2", "pdu_status_port_" and a unit serial). Every key is named here once, beside
// the pair of functions that writes and reads what follows its prefix, so a menu and the row
// that answers it never drift apart. The value-read and value-write tables are rows keyed by
// ItemKey and walked in order by match_item_row.
#ifndef TAVIO_PROTOCOL_ITEM_IDS_H
#define TAVIO_PROTOCOL_ITEM_IDS_H

#include <cstddef>
#include <optional>
#include <string>

namespace tavio {

/// How the part of an identifier after a key's prefix is written and read.
enum class ItemSuffix {
  kNone,           ///< no suffix: the identifier is the key's name exactly
  kNumber,         ///< a number as "%d" reads it: "wan_status_2x" is 2, "wan_status_x" fails
  kUnitSerial,     ///< a power unit's serial, read back cut to 31 characters
  kPortControl,    ///< a unit serial, "_", a port; read back as 14 characters, one skipped
                   ///< separator, then the port
  kBatteryNumber,  ///< a battery number as strtol reads it; negative numbers fail
};

/// The name (or prefix) a row answers to and how the rest of the identifier is read.
struct ItemKey {
  const char* name;
  ItemSuffix suffix;
};

/// What an identifier carries after its key's prefix.
struct ItemArgs {
  int number = 0;    ///< kNumber and kBatteryNumber; the port of kPortControl
  std::string unit;  ///< kUnitSerial and kPortControl
};

/// Every key the panel reads or writes by.
namespace item {
constexpr ItemKey kHaStatus{"ha_status", ItemSuffix::kNone};
constexpr ItemKey kSystemTime{"systime", ItemSuffix::kNone};
constexpr ItemKey kUptime{"sysuptime", ItemSuffix::kNone};
constexpr ItemKey kCpuLoad{"cpuload", ItemSuffix::kNone};
constexpr ItemKey kLanPortStatus{"lan_port_status_", ItemSuffix::kNumber};
constexpr ItemKey kLanIp{"lan_ip", ItemSuffix::kNone};
constexpr ItemKey kWanStatus{"wan_status_", ItemSuffix::kNumber};
constexpr ItemKey kVpnStatus{"vpn_status_", ItemSuffix::kNumber};
constexpr ItemKey kThroughputIn{"wans_throughput_in", ItemSuffix::kNone};
constexpr ItemKey kThroughputOut{"wans_throughput_out", ItemSuffix::kNone};
constexpr ItemKey kDataTransfer{"wans_data_transfer", ItemSuffix::kNone};
constexpr ItemKey kWifiAp{"wifi_ap_status", ItemSuffix::kNone};
constexpr ItemKey kRemoteAssist{"remote_assist", ItemSuffix::kNone};
constexpr ItemKey kLanPortSpeed{"lan_port_speed", ItemSuffix::kNone};
constexpr ItemKey kWanPortSpeed{"wan_port_speed_", ItemSuffix::kNumber};
constexpr ItemKey kRestoreFactory{"restore_factory", ItemSuffix::kNone};
constexpr ItemKey kReboot{"reboot", ItemSuffix::kNone};
constexpr ItemKey kResetAdminPassword{"reset_admin_pwd", ItemSuffix::kNone};
constexpr ItemKey kPanelPasscode{"panel_passcode", ItemSuffix::kNone};
constexpr ItemKey kPanelLogout{"panel_logout", ItemSuffix::kNone};

// Power units: one family per quantity and kind of unit, the unit's serial behind it.
constexpr ItemKey kLocalPmuPortState{"local_pmu_status_port_", ItemSuffix::kUnitSerial};
constexpr ItemKey kExtPmuPortState{"ext_pmu_status_port_", ItemSuffix::kUnitSerial};
constexpr ItemKey kPduPortState{"pdu_status_port_", ItemSuffix::kUnitSerial};
constexpr ItemKey kLocalPmuTemperature{"local_pmu_status_temp_", ItemSuffix::kUnitSerial};
constexpr ItemKey kExtPmuTemperature{"ext_pmu_status_temp_", ItemSuffix::kUnitSerial};
constexpr ItemKey kPduTemperature{"pdu_status_temp_", ItemSuffix::kUnitSerial};
constexpr ItemKey kLocalPmuInputVoltage{"local_pmu_status_in_volt_", ItemSuffix::kUnitSerial};
constexpr ItemKey kExtPmuInputVoltage{"ext_pmu_status_in_volt_", ItemSuffix::kUnitSerial};
constexpr ItemKey kLocalPmuOutputVoltage{"local_pmu_status_out_volt_", ItemSuffix::kUnitSerial};
constexpr ItemKey kExtPmuOutputVoltage{"ext_pmu_status_out_volt_", ItemSuffix::kUnitSerial};
constexpr ItemKey kPduVoltage{"pdu_status_volt_", ItemSuffix::kUnitSerial};
constexpr ItemKey kLocalPmuInputCurrent{"local_pmu_status_in_curr_", ItemSuffix::kUnitSerial};
constexpr ItemKey kExtPmuInputCurrent{"ext_pmu_status_in_curr_", ItemSuffix::kUnitSerial};
constexpr ItemKey kLocalPmuOutputCurrent{"local_pmu_status_out_curr_", ItemSuffix::kUnitSerial};
constexpr ItemKey kExtPmuOutputCurrent{"ext_pmu_status_out_curr_", ItemSuffix::kUnitSerial};
constexpr ItemKey kPduCurrent{"pdu_status_curr_", ItemSuffix::kUnitSerial};
constexpr ItemKey kPortControl{"pmu_port_ctrl_", ItemSuffix::kPortControl};
constexpr ItemKey kInputPower{"pwr_consume_status_input_power", ItemSuffix::kNone};
constexpr ItemKey kBattery{"pwr_consume_status_battery_", ItemSuffix::kBatteryNumber};
constexpr ItemKey kBatteries{"pwr_consume_status_battery", ItemSuffix::kNone};
}  // namespace item

/// The names of the menus a menu request may ask for by "ref"; "" or kHome ("Home") is the
/// panel's home menu.
namespace menu_name {
constexpr char kHome[] = "Home";
constexpr char kMain[] = "main_menu";
constexpr char kPmu[] = "pmu_menu";
constexpr char kPdu[] = "pdu_menu";
constexpr char kBattery[] = "pwr_consume_status_battery_menu";
}  // namespace menu_name

/// The identifier a menu hands out for key and args, cut like the menus' identifiers to 63
/// characters. Read back, a unit serial keeps only what its suffix kind reads (31
/// characters, or 14 of a port control), so a longer one does not come back whole.
[[nodiscard]] std::string format_item_id(const ItemKey& key, const ItemArgs& args = {});
/// A power unit's item identifier: prefix and the unit's serial, cut to an identifier's room.
[[nodiscard]] std::string unit_item_id(const char* prefix, const std::string& serial);
/// The identifier format_item_id makes for key and args when it reads back as exactly args;
/// nothing when the family cannot carry them whole (a unit serial over 31 characters, a port
/// control's serial of other than 14), so that a menu never hands out an identifier that
/// names another unit or a cut serial.
[[nodiscard]] std::optional<std::string> exact_item_id(const ItemKey& key, const ItemArgs& args);
/// True when identifier is key's name (kNone) or starts with it (every other kind).
[[nodiscard]] bool item_key_matches(const ItemKey& key, const char* identifier);
/// The suffix of an identifier that matches key, read as key says; nothing when it does not
/// read (no number, a negative battery).
[[nodiscard]] std::optional<ItemArgs> read_item_suffix(const ItemKey& key, const char* identifier);

/// The first row (in table order) whose key matches identifier, with what its suffix
/// carries in *args (nothing when the suffix does not read); null when no row matches.
template <typename Row, std::size_t N>
const Row* match_item_row(const Row (&rows)[N], const char* identifier,
                          std::optional<ItemArgs>* args) {
  for (const Row& row : rows) {
    if (item_key_matches(row.key, identifier)) {
      *args = read_item_suffix(row.key, identifier);
      return &row;
    }
  }
  return nullptr;
}

/// The key of the first row (in table order) that matches identifier; null when none does.
template <typename Row, std::size_t N>
const ItemKey* matching_row_key(const Row (&rows)[N], const char* identifier) {
  for (const Row& row : rows) {
    if (item_key_matches(row.key, identifier)) {
      return &row.key;
    }
  }
  return nullptr;
}

}  // namespace tavio

#endif
