#include "power/unit_status.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "layout/panel_text.h"
#include "platform/json_get.h"
#include "platform/text_buffer.h"
#include "power/device_commands.h"

namespace tavio {
namespace {

constexpr std::size_t kValueCapacity = 64;

struct QuantityText {
  const char* single_label;  ///< the label of a one-port unit
  const char* port_label;    ///< "%d" the port, for units with more ports
  const char* key;           ///< "%d" the port
  const char* unit;          ///< appended to the reported value; null for a port state
  bool finished;             ///< the text is finished for the theme
};

// Indexed by PortQuantity.
const QuantityText kQuantities[] = {
    {"Port Status:", "Port %d Status:", "s", nullptr, true},
    {"Input Voltage:", "Input Voltage %d:", "vi", " V", true},
    {"Output Voltage:", "Output Voltage %d:", "vo", " V", true},
    {"Input Current:", "Input Current %d:", "ii", " A", true},
    {"Output Current:", "Output Current %d:", "io", " A", true},
    {"Voltage:", "Voltage %d:", "v", " V", false},
    {"Current:", "Current %d:", "i", " A", false},
};

const char* port_state_word(const char* reported) {
  return std::strcmp(reported, "1") == 0 ? "ON" : "OFF";
}

// The highest port the report has a key for, so that a unit claiming millions of ports
// costs no more than the keys it reports.
long highest_reported_port(const json_t* report, const char* key_prefix) {
  const std::size_t prefix = std::strlen(key_prefix);
  long highest = 0;
  const char* key = nullptr;
  const json_t* value = nullptr;
  json_object_foreach(const_cast<json_t*>(report), key, value) {
    if (std::strncmp(key, key_prefix, prefix) == 0 && key[prefix] >= '0' && key[prefix] <= '9') {
      highest = std::max(highest, std::strtol(key + prefix, nullptr, 10));
    }
  }
  return highest;
}

}  // namespace

std::string render_port_quantity(PortQuantity quantity, PowerUnitType type,
                                 const std::string& serial, const PanelLayout& layout) {
  const QuantityText& q = kQuantities[static_cast<int>(quantity)];
  TextBuffer text(kLongTextCapacity);
  const int ports = devcmd_info(serial);
  const JsonPtr report = ports >= 1 ? devcmd_status(serial) : nullptr;
  if (report) {
    const long last = std::min<long>(ports, highest_reported_port(report.get(), q.key));
    for (int port = 1; port <= last; ++port) {
      const std::string key = format_text(kValueCapacity, "%s%d", q.key, port);
      const char* reported = jget_string(report.get(), key.c_str(), "");
      if (reported[0] == '\0') {
        continue;
      }
      // Port 1 opens the text; every later port starts a line, even after a skipped port 1.
      if (port != 1) {
        text.append("\n");
      }
      const std::string label =
          ports == 1 ? q.single_label : format_text(kValueCapacity, q.port_label, port);
      const std::string shown = q.unit == nullptr
                                    ? port_state_word(reported)
                                    : format_text(kValueCapacity, "%s%s", reported, q.unit);
      text.append(layout_label_value(label, shown, layout));
    }
  }
  if (text.empty()) {
    const PowerUnitType shown_type =
        (quantity == PortQuantity::kVoltage || quantity == PortQuantity::kCurrent)
            ? PowerUnitType::kPdu
            : type;
    text.append(power_unit_unreachable_text(shown_type, layout.chars_per_line));
  }
  return q.finished ? layout_finish(layout, text.str(), kLongTextCapacity) : text.str();
}

std::string pmu_render_temperature(PowerUnitType type, const std::string& serial,
                                   const PanelLayout& layout) {
  TextBuffer text(kLongTextCapacity);
  const JsonPtr report = devcmd_status(serial);
  if (!report) {
    text.append(power_unit_unreachable_text(type, layout.chars_per_line));
    return text.str();
  }
  const char* reported = jget_string(report.get(), "t", "");
  if (reported[0] != '\0') {
    text.append(layout_label_value(
        "Temperature:", format_text(kValueCapacity, "%s degree Cel.", reported), layout));
  }
  if (text.empty()) {
    text.append(power_unit_unreachable_text(type, layout.chars_per_line));
  }
  return layout_finish(layout, text.str(), kLongTextCapacity);
}

std::string pmu_port_state(const std::string& serial, int port) {
  const int ports = devcmd_info(serial);
  const JsonPtr report = ports >= 1 ? devcmd_status(serial) : nullptr;
  if (!report || port > ports) {
    return std::string();
  }
  const std::string key = format_text(kValueCapacity, "s%d", port);
  const char* reported = jget_string(report.get(), key.c_str(), "");
  return reported[0] == '\0' ? std::string() : std::string(port_state_word(reported));
}

void pmu_dump_unit(PowerUnitType type, const std::string& serial, const PanelLayout& layout) {
  if (serial.empty()) {
    return;
  }
  std::printf("\nPMU temperature:\n%s\n", pmu_render_temperature(type, serial, layout).c_str());
  std::printf("\nPMU port_num = %d\n", devcmd_info(serial));
  const struct {
    const char* title;
    PortQuantity quantity;
  } sections[] = {
      {"PMU Port Status", PortQuantity::kState},
      {"PMU Input Voltage", PortQuantity::kInputVoltage},
      {"PMU Output Voltage", PortQuantity::kOutputVoltage},
      {"PMU Input Current", PortQuantity::kInputCurrent},
      {"PMU Output Current", PortQuantity::kOutputCurrent},
  };
  for (const auto& section : sections) {
    std::printf("\n%s:\n%s\n", section.title,
                render_port_quantity(section.quantity, type, serial, layout).c_str());
  }
}

}  // namespace tavio
