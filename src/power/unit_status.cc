#include "power/unit_status.h"

#include <optional>

#include "layout/panel_text.h"
#include "power/unit_commands.h"
#include "power/unit_records.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr std::size_t kValueCapacity = 64;

struct QuantityText {
  const char* name;   ///< the label before the port number
  const char* after;  ///< the label after the port number
  const char* unit;   ///< appended to the reported value; null for a port state
  bool finished;      ///< the text is finished for the theme
};

// Indexed by PortQuantity.
const QuantityText kQuantities[] = {
    {"Port", " Status", nullptr, true}, {"Input Voltage", "", " V", true},
    {"Output Voltage", "", " V", true}, {"Input Current", "", " A", true},
    {"Output Current", "", " A", true}, {"Voltage", "", " V", false},
    {"Current", "", " A", false},
};

const char* port_state_word(const std::string& reported) { return reported == "1" ? "ON" : "OFF"; }

// The report of a unit whose port count allows one: a unit that reports no port is not asked.
std::optional<UnitReport> port_report(const std::string& serial, int* ports) {
  *ports = unit_port_count(serial);
  return *ports >= 1 ? unit_report_collect(serial) : std::nullopt;
}

}  // namespace

std::string port_label(const char* name, const char* after, int port, int port_count) {
  return port_count == 1 ? format_text(kTextCapacity, "%s%s:", name, after)
                         : format_text(kTextCapacity, "%s %d%s:", name, port, after);
}

std::string render_port_quantity(PortQuantity quantity, PowerUnitType type,
                                 const std::string& serial, const PanelLayout& layout) {
  const QuantityText& q = kQuantities[static_cast<int>(quantity)];
  TextBuffer text(kLongTextCapacity);
  int ports = 0;
  if (const std::optional<UnitReport> report = port_report(serial, &ports)) {
    const PortTexts& values = report->of(quantity);
    for (int port = 1; port <= ports; ++port) {
      const std::string& reported = values.at(port);
      if (reported.empty()) {
        continue;
      }
      // Port 1 opens the text; every later port starts a line, even after a skipped port 1.
      if (port != 1) {
        text.append("\n");
      }
      const std::string shown = q.unit == nullptr
                                    ? port_state_word(reported)
                                    : format_text(kValueCapacity, "%s%s", reported.c_str(), q.unit);
      text.append(layout_label_value(port_label(q.name, q.after, port, ports), shown, layout));
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
  if (!report->temperature.empty()) {
    text.append(layout_label_value(
        "Temperature:", format_text(kValueCapacity, "%s degree Cel.", report->temperature.c_str()),
        layout));
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
  const std::string& reported = report->of(PortQuantity::kState).at(port);
  return reported.empty() ? std::string() : std::string(port_state_word(reported));
}

}  // namespace tavio
