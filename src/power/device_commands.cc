#include "power/device_commands.h"

#include <chrono>
#include <cstdlib>
#include <cstring>

#include "layout/panel_text.h"
#include "platform/command.h"
#include "platform/json_get.h"
#include "platform/numbers.h"
#include "platform/os.h"
#include "platform/outside_text.h"
#include "platform/reply_memo.h"
#include "platform/text_buffer.h"

namespace tavio {
namespace {

constexpr char kDeviceTool[] = "capwap_cli";
static_assert(kDeviceToolDeadline <= kLongestWaitedDeadline, "an exchange would outlast its bound");
constexpr std::size_t kUnreachableCapacity = 128;

// The router's device interface takes one command line of at most 511 characters, which also
// names a run-directory file for the answer; a unit serial that would not fit it whole
// reaches no unit.
bool unit_serial_fits(const char* line_format, const char* answer_file, const std::string& serial) {
  std::string line = line_format;
  line.append(format_text(kPathCapacity, answer_file, process_id()));
  return outside_argument_fits(kLongTextCapacity, line, serial);
}

// Runs the device tool; its answer as JSON, or null.
JsonPtr ask_device(std::vector<std::string> args) {
  const std::optional<std::string> answer = run_command(
      Command{kDeviceTool, std::move(args), kDeviceToolDeadline, CommandOutput::kCapture});
  return answer ? json_own(json_loadb(answer->data(), answer->size(), 0, nullptr)) : nullptr;
}

}  // namespace

JsonPtr device_answer(std::vector<std::string> args) {
  ReplyKey key{kDeviceTool};
  key.insert(key.end(), args.begin(), args.end());
  JsonPtr answer;
  if (!kept_reply(key, &answer)) {
    answer = ask_device(std::move(args));
    keep_reply(std::move(key), answer);
  }
  return answer;
}

JsonPtr first_report(const JsonPtr& answer) {
  json_t* reports = json_object_get(answer.get(), "rpt");
  json_t* first = json_is_array(reports) ? json_array_get(reports, 0) : nullptr;
  return first != nullptr ? json_share(first) : nullptr;
}

JsonPtr devcmd_list() {
  const JsonPtr answer = device_answer({"iotdevlist"});
  json_t* list = json_object_get(answer.get(), "list");
  return json_is_array(list) ? json_share(list) : nullptr;
}

std::optional<int> devcmd_info(const std::string& serial) {
  if (serial.empty() || !unit_serial_fits("capwap_cli iotdevinfo %s > ",
                                          "/var/run/dorva/tavio/pmu_info_%d.json", serial)) {
    return std::nullopt;
  }
  const JsonPtr answer = device_answer({"iotdevinfo", serial});
  const json_t* attributes = json_object_get(json_object_get(answer.get(), "devinfo"), "attr");
  // A missing port count reads as "0": the unit then counts as unreachable.
  const char* count = jget_string(attributes, "port_num", "0");
  if (attributes == nullptr || count[0] == '\0') {
    return std::nullopt;
  }
  return clamp_to_int(std::strtol(count, nullptr, 10));
}

JsonPtr devcmd_status(const std::string& serial) {
  if (serial.empty() || !unit_serial_fits("capwap_cli iotstatus %s > ",
                                          "/var/run/dorva/tavio/pmu_status_%d.json", serial)) {
    return nullptr;
  }
  return first_report(device_answer({"iotstatus", serial}));
}

std::optional<std::string> devcmd_port_set(const std::string& serial, int port, bool on) {
  if (serial.empty()) {
    return std::nullopt;
  }
  const int count = devcmd_info(serial).value_or(kUnknownPortCount);
  if (count < 1 || count < port) {
    return std::nullopt;
  }
  const std::string state = format_text(kTextCapacity, "%d:%s", port, on ? "on" : "off");
  const std::string line = "capwap_cli iotdevport_set %s \"" + state + "\"> ";
  if (!unit_serial_fits(line.c_str(), "/var/run/dorva/tavio/pmu_iotdevport_set_%d.json", serial)) {
    return std::nullopt;
  }
  forget_replies(kDeviceTool);  // the unit's status changes with its port
  const JsonPtr answer = ask_device({"iotdevport_set", serial, state});
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

PowerUnitType power_unit_type_of(const char* product) {
  if (product == nullptr) {
    return PowerUnitType::kIntegratedPmu;
  }
  if (std::strcmp(product, "RQ-PWRU") == 0) {
    return PowerUnitType::kExternalPmu;
  }
  if (std::strcmp(product, "RQ-DIST") == 0) {
    return PowerUnitType::kPdu;
  }
  return PowerUnitType::kIntegratedPmu;  // "RQ-CELL" and every model not known here
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

std::vector<json_t*> power_units_of_type(const json_t* list, PowerUnitType type) {
  std::vector<json_t*> units;
  for (std::size_t i = 0; json_is_array(list) && i < json_array_size(list); ++i) {
    json_t* unit = json_array_get(list, i);
    if (json_object_get(unit, "devinfo") == nullptr ||
        power_unit_type_of(jget_string(unit, "prod", "")) != type ||
        jget_string(unit, "sn", "")[0] == '\0') {
      continue;
    }
    units.push_back(unit);
  }
  return units;
}

}  // namespace tavio
