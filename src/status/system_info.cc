#include "status/system_info.h"

#include "layout/panel_text.h"
#include "platform/clock.h"
#include "protocol/json_get.h"
#include "sources/local_api.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr std::size_t kValueCapacity = 64;
constexpr std::size_t kClockCapacity = 60;

std::optional<std::string> labelled_field(const DeviceInfo* info,
                                          const std::string DeviceInfo::*field, const char* label,
                                          const PanelLayout& layout) {
  if (info == nullptr || (info->*field).empty()) {
    return std::nullopt;
  }
  std::string text = cut_text(layout_label_value(label, info->*field, layout), kTextCapacity);
  if (text.empty()) {
    return std::nullopt;
  }
  return text;
}

}  // namespace

std::string uptime_text(long seconds) {
  // Signed 32-bit arithmetic, as on the router; only 2 days and more take the plural.
  const int s = static_cast<int>(seconds);
  const int days = s / 86400;
  return format_text(kValueCapacity, "%d day%s %02d:%02d:%02d", days, days >= 2 ? "s" : "",
                     (s % 86400) / 3600, (s % 3600) / 60, s % 60);
}

std::optional<std::string> render_uptime(const PanelLayout& layout) {
  TextBuffer text(kTextCapacity);
  text.append(layout_label_value("System Up Time:", uptime_text(system_uptime()), layout));
  return layout_finish(layout, text.str(), kTextCapacity);
}

std::optional<std::string> render_system_time(const PanelLayout& layout) {
  TextBuffer text(kTextCapacity);
  text.append(layout_label_value(
      "System time:", local_time_text("%Y-%m-%d %H:%M %Z", kClockCapacity), layout));
  return layout_finish(layout, text.str(), kTextCapacity);
}

std::optional<std::string> cpu_load_collect() {
  const JsonPtr result = api_read("status.system.info", "&infoType=cpuLoad");
  const json_t* load = result ? json_object_get(result.get(), "cpuLoad") : nullptr;
  if (load == nullptr) {
    return std::nullopt;
  }
  return std::string(jget_string(load, "string", ""));
}

std::optional<std::string> render_cpu_load(const PanelLayout& layout) {
  const std::optional<std::string> load = cpu_load_collect();
  if (!load) {
    return std::nullopt;
  }
  TextBuffer text(kTextCapacity);
  text.append(layout_label_value("CPU Load:", *load, layout));
  return layout_finish(layout, text.str(), kTextCapacity);
}

std::optional<DeviceInfo> device_info_collect() {
  const JsonPtr result = api_read("status.system.info", "&infoType=device");
  if (!result) {
    return std::nullopt;
  }
  const json_t* device = json_object_get(result.get(), "device");
  if (device == nullptr) {
    return std::nullopt;
  }
  DeviceInfo info;
  info.name = jget_string(device, "name", "");
  info.model = jget_string(device, "model", "");
  info.hardware_revision = jget_string(device, "hardwareRevision", "");
  info.firmware_version = jget_string(device, "firmwareVersion", "");
  info.serial_number = jget_string(device, "serialNumber", "");
  return info;
}

std::optional<std::string> render_firmware(const DeviceInfo* info, const PanelLayout& layout) {
  if (info == nullptr || info->model.empty() || info->firmware_version.empty()) {
    return std::nullopt;
  }
  const std::string line =
      format_text(kTextCapacity, "%s %s", info->model.c_str(), info->firmware_version.c_str());
  const std::string text = cut_text(layout_wrap(line, layout.chars_per_line), kTextCapacity);
  if (text.empty()) {
    return std::nullopt;
  }
  return layout_finish(layout, text, kTextCapacity);
}

std::optional<std::string> render_device_name(const DeviceInfo* info, const PanelLayout& layout) {
  return labelled_field(info, &DeviceInfo::name, "Device name:", layout);
}

std::optional<std::string> render_hardware_revision(const DeviceInfo* info,
                                                    const PanelLayout& layout) {
  return labelled_field(info, &DeviceInfo::hardware_revision, "Hardware revision:", layout);
}

std::optional<std::string> render_serial_number(const DeviceInfo* info, const PanelLayout& layout) {
  return labelled_field(info, &DeviceInfo::serial_number, "Serial number:", layout);
}

std::optional<std::string> device_name_get() {
  const std::optional<DeviceInfo> info = device_info_collect();
  if (!info || info->name.empty()) {
    return std::nullopt;
  }
  return cut_text(info->name, kTextCapacity);
}

}  // namespace tavio
