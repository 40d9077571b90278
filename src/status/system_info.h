// System figures: uptime, clock, CPU load and the device's identity.
#ifndef TAVIO_STATUS_SYSTEM_INFO_H
#define TAVIO_STATUS_SYSTEM_INFO_H

#include <optional>
#include <string>

#include "tavio/panel_layout.h"
#include "tavio/status_records.h"

namespace tavio {

/// "System Up Time:" and "D day(s) HH:MM:SS".
[[nodiscard]] std::optional<std::string> render_uptime(const PanelLayout& layout);
/// "System time:" and the local date, time and zone.
[[nodiscard]] std::optional<std::string> render_system_time(const PanelLayout& layout);
/// The CPU load as the router words it ("7%"); nothing when the API fails.
[[nodiscard]] std::optional<std::string> cpu_load_collect();
/// "CPU Load:" and the API's load text; nothing when the API fails.
[[nodiscard]] std::optional<std::string> render_cpu_load(const PanelLayout& layout);
/// The device's identity; nothing when the API fails.
[[nodiscard]] std::optional<DeviceInfo> device_info_collect();
/// Model and firmware version wrapped, no label; nothing when either is empty.
[[nodiscard]] std::optional<std::string> render_firmware(const DeviceInfo* info,
                                                         const PanelLayout& layout);
/// "Device name:" and the name; nothing when empty.
[[nodiscard]] std::optional<std::string> render_device_name(const DeviceInfo* info,
                                                            const PanelLayout& layout);
/// "Hardware revision:" and the revision; nothing when empty.
[[nodiscard]] std::optional<std::string> render_hardware_revision(const DeviceInfo* info,
                                                                  const PanelLayout& layout);
/// "Serial number:" and the serial; nothing when empty.
[[nodiscard]] std::optional<std::string> render_serial_number(const DeviceInfo* info,
                                                              const PanelLayout& layout);
/// The device name alone, from the run's device-information reply; nothing when empty.
[[nodiscard]] std::optional<std::string> device_name_get();
/// The uptime text for a number of seconds, "0 day 00:05:12" (plural from 2 days).
[[nodiscard]] std::string uptime_text(long seconds);

}  // namespace tavio

#endif
