// Records of router status, filled by the collectors and read by the renderers and menus.
// Lists keep the API's "order", and each holds at most the bound named beside it: an API
// reply's "order" beyond that is not read, so no reply sizes a menu or a dump. Each bound is
// far above what a router has, so a real list is never cut.
#ifndef TAVIO_STATUS_RECORDS_H
#define TAVIO_STATUS_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tavio {

/// Absent signal figures.
constexpr int kAbsentSignal = -9999;
constexpr double kAbsentSignalReal = -9999.9;

/// One enabled WAN connection.
struct WanStatus {
  int id = 0;
  std::string type;  ///< "wifi", "gobi", "modem", ... (15 characters)
  std::string name;
  std::string message;           ///< the connection's status sentence
  std::string ip;                ///< 15 characters
  int strength = kAbsentSignal;  ///< dBm
  int rsrp = kAbsentSignal;      ///< dBm
  double sinr = kAbsentSignalReal;
  double snr = kAbsentSignalReal;
  double ecio = kAbsentSignalReal;
  double rsrq = kAbsentSignalReal;
};
/// The most WAN connections read (also per traffic list). Routers number their WAN
/// connections (Ethernet ports, cellular modems and their SIMs, Wi-Fi as WAN) in the tens;
/// 256 leaves room.
constexpr std::size_t kMaxWanConnections = 256;
struct WanStatusList {
  std::vector<WanStatus> items;
};

/// One site-to-site VPN profile.
struct VpnStatus {
  int id = 0;
  std::string name;
  std::string state;    ///< display word; "" for an unknown link state
  bool secure = false;  ///< a peer of the profile is secured
};
/// The most VPN profiles read. The largest routers hold a few hundred site-to-site profiles;
/// 1024 leaves room.
constexpr std::size_t kMaxVpnProfiles = 1024;
/// The most VPN peers looked at for the profiles' "secured" mark: a few per profile.
constexpr std::size_t kMaxVpnPeers = 4 * kMaxVpnProfiles;
struct VpnStatusList {
  std::vector<VpnStatus> items;
};

/// One LAN port and its link.
struct PortStatus {
  std::string name;  ///< "Port N"
  int id = 0;
  std::string link;  ///< link text (63 characters)
};
/// The most LAN ports read. Front panels have up to a few dozen ports; 128 leaves room.
constexpr std::size_t kMaxLanPorts = 128;
struct PortStatusList {
  std::vector<PortStatus> items;
};

/// One WAN's traffic figures over a period, as the router's 32-bit counters give them.
struct WanTraffic {
  std::string name;
  std::int32_t download = 0;
  std::int32_t upload = 0;
};
/// The traffic of every WAN, in one unit of measure ("Kbps", "MB", ...).
struct TrafficList {
  std::string unit;
  std::vector<WanTraffic> items;
};

/// The device's identity; "" where the API leaves a key out.
struct DeviceInfo {
  std::string name;
  std::string model;
  std::string hardware_revision;
  std::string firmware_version;
  std::string serial_number;
};

/// The first LAN profile's address.
struct LanAddress {
  std::string ip;    ///< 15 characters
  std::string mask;  ///< dotted quad
};

}  // namespace tavio

#endif
