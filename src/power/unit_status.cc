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

const char* port_state_word(const std::string& reported) { return reported == "1" ? "ON" : "OFF"; }

// The highest port the report has a key for, so that a unit claiming millions of ports
// costs no more than the keys it reports.
long highest_reported_port(const UnitReport& report, const char* key_prefix) {
  const std::size_t prefix = std::strlen(key_prefix);
  long highest = 0;
  for (const auto& entry : report) {
    const char* key = entry.first.c_str();
    if (std::strncmp(key, key_prefix, prefix) == 0 && key[prefix] >= '0' && key[prefix] <= '9') {
      highest = std::max(highest, std::strtol(key + prefix, nullptr, 10));
    }
  }
  return highest;
}

const std::string& reported_value(const UnitReport& report, const std::string& key) {
  static const std::string kNothing;
  const auto found = report.find(key);
  return found == report.end() ? kNothing : found->second;
}

// The report of a unit whose port count allows one: a unit that reports no port is not asked.
std::optional<UnitReport> port_report(const std::string& serial, int* ports) {
  *ports = devcmd_info(serial).value_or(kUnknownPortCount);
  return *ports >= 1 ? unit_report_collect(serial) : std::nullopt;
}

}  // namespace

std::optional<UnitReport> unit_report_collect(const std::string& serial) {
  const JsonPtr report = devcmd_status(serial);
  if (!report) {
    return std::nullopt;
  }
  UnitReport values;
  const char* key = nullptr;
  const json_t* value = nullptr;
  json_object_foreach(report.get(), key, value) {
    values[key] = json_is_string(value) ? json_string_value(value) : "";
  }
  return values;
}

std::string render_port_quantity(PortQuantity quantity, PowerUnitType type,
                                 const std::string& serial, const PanelLayout& layout) {
  const QuantityText& q = kQuantities[static_cast<int>(quantity)];
  TextBuffer text(kLongTextCapacity);
  int ports = 0;
  const std::optional<UnitReport> report = port_report(serial, &ports);
  if (report) {
    const long last = std::min<long>(ports, highest_reported_port(*report, q.key));
    for (int port = 1; port <= last; ++port) {
      const std::string& reported =
          reported_value(*report, format_text(kValueCapacity, "%s%d", q.key, port));
      if (reported.empty()) {
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
                                    : format_text(kValueCapacity, "%s%s", reported.c_str(), q.unit);
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
  const std::optional<UnitReport> report = unit_report_collect(serial);
  if (!report) {
    text.append(power_unit_unreachable_text(type, layout.chars_per_line));
    return text.str();
  }
  const std::string& reported = reported_value(*report, "t");
  if (!reported.empty()) {
    text.append(layout_label_value(
        "Temperature:", format_text(kValueCapacity, "%s degree Cel.", reported.c_str()), layout));
  }
  if (text.empty()) {
    text.append(power_unit_unreachable_text(type, layout.chars_per_line));
  }
  return layout_finish(layout, text.str(), kLongTextCapacity);
}

std::string pmu_port_state(const std::string& serial, int port) {
  int ports = 0;
  const std::optional<UnitReport> report = port_report(serial, &ports);
  if (!report || port > ports) {
    return std::string();
  }
  const std::string& reported = reported_value(*report, format_text(kValueCapacity, "s%d", port));
  return reported.empty() ? std::string() : std::string(port_state_word(reported));
}

}  // namespace tavio
