#include "power/unit_commands.h"

#include <cstring>

#include "layout/panel_text.h"
#include "protocol/json_get.h"
#include "sources/device_tool.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr std::size_t kUnreachableCapacity = 128;
// The characters each command's line takes besides the serial and the answer file's name
// (device_serial_fits):
constexpr std::size_t kInfoChars = 25;    // "capwap_cli iotdevinfo " and " > "
constexpr std::size_t kStatusChars = 24;  // "capwap_cli iotstatus " and " > "
// "capwap_cli iotdevport_set ", the blank and quote before the state, and "\"> " after it.
constexpr std::size_t kPortSetChars = 31;

}  // namespace

std::optional<PowerUnitList> power_unit_list_collect() {
  return power_unit_list_of(device_answer({"iotdevlist"}).get());
}

int unit_port_count(const std::string& serial) {
  if (serial.empty() ||
      !device_serial_fits(serial, kInfoChars, "/var/run/dorva/tavio/pmu_info_%d.json")) {
    return kUnknownPortCount;
  }
  const std::optional<PortCount> count =
      unit_info_port_count_of(device_answer({"iotdevinfo", serial}).get());
  return count ? ports_for_commands(*count) : kUnknownPortCount;
}

std::optional<UnitReport> unit_report_collect(const std::string& serial) {
  if (serial.empty() ||
      !device_serial_fits(serial, kStatusChars, "/var/run/dorva/tavio/pmu_status_%d.json")) {
    return std::nullopt;
  }
  return unit_report_of(device_answer({"iotstatus", serial}).get());
}

std::optional<std::string> devcmd_port_set(const std::string& serial, int port, bool on) {
  if (serial.empty()) {
    return std::nullopt;
  }
  const int count = unit_port_count(serial);
  if (count < 1 || count < port) {
    return std::nullopt;
  }
  const std::string state = format_text(kTextCapacity, "%d:%s", port, on ? "on" : "off");
  if (!device_serial_fits(serial, kPortSetChars + state.size(),
                          "/var/run/dorva/tavio/pmu_iotdevport_set_%d.json")) {
    return std::nullopt;
  }
  // The switch changes the unit's status report and nothing else: its port count and the
  // device list stay as they were read.
  forget_device_answer({"iotstatus", serial});
  const JsonPtr answer = device_command({"iotdevport_set", serial, state});
  const json_t* results = json_object_get(answer.get(), "ret");
  const json_t* first = json_is_array(results) ? json_array_get(results, 0) : nullptr;
  if (first == nullptr) {
    return std::nullopt;
  }
  const std::string key = format_text(kPathCapacity, "s%d", port);
  const char* reported = jget_string(first, key.c_str(), "");
  if (reported[0] == '\0') {
    return std::nullopt;
  }
  const bool reported_on = std::strcmp(reported, "1") == 0;
  if (reported_on != on) {
    return std::nullopt;
  }
  return std::string(on ? "ON" : "OFF");
}

const char* power_unit_name(PowerUnitType type) {
  switch (type) {
    case PowerUnitType::kIntegratedPmu:
      return "Integrated PMU";
    case PowerUnitType::kExternalPmu:
      return "External PMU";
    case PowerUnitType::kPdu:
      return "PDU";
  }
  return "";
}

std::string power_unit_unreachable_text(PowerUnitType type, int width) {
  const std::string text =
      format_text(kUnreachableCapacity, "Fail to get status. Please check the %s connection.",
                  power_unit_name(type));
  return layout_wrap(text, width);
}

}  // namespace tavio
