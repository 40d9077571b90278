#include "power/device_commands.h"

#include <cstdlib>
#include <cstring>

#include "layout/panel_text.h"
#include "platform/json_command.h"
#include "platform/json_get.h"
#include "platform/numbers.h"
#include "platform/os.h"
#include "platform/outside_text.h"
#include "platform/router_paths.h"
#include "platform/text_buffer.h"

namespace tavio {
namespace {

constexpr std::size_t kUnreachableCapacity = 128;

// The command's file path carries the root prefix; the line keeps its router capacity plus
// room for it.
std::size_t command_capacity() { return kLongTextCapacity + root_prefix().size(); }

// A device command line for the unit serial, with the tool's answer redirected into output;
// "" when a serial that needs quoting would not fit whole.
std::string unit_command(const char* format, const std::string& serial, const HostPath& output) {
  const std::string argument = shell_argument(serial);
  TextBuffer command(command_capacity());
  command.appendf(format, argument.c_str(), output.c_str());
  return command.cut() && !is_plain_word(serial) ? std::string() : command.str();
}

// Runs a command about one unit; the loaded answer, or null.
JsonPtr unit_answer(const char* file_format, const char* command_format,
                    const std::string& serial) {
  return run_json_command(file_format, ExitCheck::kRequireZero, [&](const HostPath& output) {
    return unit_command(command_format, serial, output);
  });
}

}  // namespace

JsonPtr device_answer(const char* file_format, const char* command) {
  return run_json_command(file_format, ExitCheck::kRequireZero, [&](const HostPath& output) {
    return format_text(command_capacity(), "%s > %s", command, output.c_str());
  });
}

JsonPtr first_report(const JsonPtr& answer) {
  json_t* reports = json_object_get(answer.get(), "rpt");
  json_t* first = json_is_array(reports) ? json_array_get(reports, 0) : nullptr;
  return first != nullptr ? json_share(first) : nullptr;
}

JsonPtr devcmd_list() {
  const JsonPtr answer = device_answer(kDeviceListFormat, "capwap_cli iotdevlist");
  json_t* list = json_object_get(answer.get(), "list");
  return json_is_array(list) ? json_share(list) : nullptr;
}

int devcmd_info(const std::string& serial) {
  if (serial.empty()) {
    return 1;
  }
  const JsonPtr answer = unit_answer(kDeviceInfoFormat, "capwap_cli iotdevinfo %s > %s", serial);
  const json_t* attributes = json_object_get(json_object_get(answer.get(), "devinfo"), "attr");
  if (attributes == nullptr) {
    return 1;
  }
  // A missing port count reads as "0": the unit then counts as unreachable.
  const char* count = jget_string(attributes, "port_num", "0");
  if (count[0] == '\0') {
    return 1;
  }
  return clamp_to_int(std::strtol(count, nullptr, 10));
}

JsonPtr devcmd_status(const std::string& serial) {
  if (serial.empty()) {
    return nullptr;
  }
  return first_report(unit_answer(kDeviceStatusFormat, "capwap_cli iotstatus %s > %s", serial));
}

std::optional<std::string> devcmd_port_set(const std::string& serial, int port, bool on) {
  if (serial.empty()) {
    return std::nullopt;
  }
  const int count = devcmd_info(serial);
  if (count < 1 || count < port) {
    return std::nullopt;
  }
  // The tool takes "PORT:STATE" right before the redirection, without a blank.
  const std::string format = format_text(
      kTextCapacity, "capwap_cli iotdevport_set %%s \"%d:%s\"> %%s", port, on ? "on" : "off");
  const JsonPtr answer = unit_answer(kDevicePortSetFormat, format.c_str(), serial);
  const json_t* results = json_object_get(answer.get(), "ret");
  const json_t* first = json_is_array(results) ? json_array_get(results, 0) : nullptr;
  if (first == nullptr) {
    return std::nullopt;
  }
  const std::string key = format_text(kPathCapacity, "s%d", port);
  const char* state = jget_string(first, key.c_str(), "");
  if (state[0] == '\0') {
    return std::nullopt;
  }
  const bool reported_on = std::strcmp(state, "1") == 0;
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
