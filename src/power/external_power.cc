#include "power/external_power.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>

#include "layout/menu_items.h"
#include "layout/panel_text.h"
#include "platform/json_get.h"
#include "platform/router_paths.h"
#include "platform/text_buffer.h"
#include "power/device_commands.h"

namespace tavio {
namespace {

constexpr char kInputPowerId[] = "pwr_consume_status_input_power";
constexpr char kBatteryItemPrefix[] = "pwr_consume_status_battery_";
constexpr char kNoBatteryStatus[] = "Cannot get battery status.";

// The panel asks for these values again every 5 seconds, like every other status entry.
constexpr std::int32_t kPollTtl = 5;
// The battery texts list every figure of every battery, so they get the largest buffer.
constexpr std::size_t kBatteryTextCapacity = kMaxTextCapacity;
// One figure with its unit, such as "26.9 degree Cel." or "65534 min".
constexpr std::size_t kFigureCapacity = 64;
// The device leaves out a figure it does not have; jget_int then reads this.
constexpr std::int32_t kAbsent = -1;
// The device reports this for a charging time it cannot estimate.
constexpr std::int32_t kUnknownMinutes = 65535;

// The label on a line of its own after what the text holds already.
void append_line(TextBuffer& text, const char* label, const std::string& value,
                 const PanelLayout& layout) {
  text.append("\n");
  text.append(layout_label_value(label, value, layout));
}

std::string minutes_text(std::int32_t minutes) {
  return minutes == kUnknownMinutes ? std::string("N/A")
                                    : format_text(kFigureCapacity, "%d min", minutes);
}

// Name:            Main
// Temperature:
//      26.9 degree Cel.
// Voltage:      12.60 V  ...
//
// The device reports tenths of a kelvin, millivolts and milliamperes (negative while the
// battery discharges); each figure is converted in double precision. Every line but the name
// starts with "\n", so a battery without a name begins with an empty line, as the panel has
// always shown it.
void append_battery(TextBuffer& text, const json_t* battery, std::int32_t current_default,
                    const PanelLayout& layout) {
  if (!text.empty()) {
    text.append("\n");
  }
  const char* name = jget_string(battery, "name", "");
  if (name[0] != '\0') {
    text.append(layout_label_value("Name:", name, layout));
  }
  const std::int32_t temperature = jget_int(battery, "bt", kAbsent);
  if (temperature != kAbsent) {
    append_line(text, "Temperature:",
                format_text(kFigureCapacity, "%.1f degree Cel.",
                            static_cast<double>(temperature) * 0.1 - 273.15),
                layout);
  }
  const std::int32_t voltage = jget_int(battery, "bv", kAbsent);
  if (voltage != kAbsent) {
    append_line(text, "Voltage:",
                format_text(kFigureCapacity, "%.2f V", static_cast<double>(voltage) * 0.001),
                layout);
  }
  // The magnitude is taken after the conversion, so the lowest 32-bit current has one too.
  const std::int32_t current = jget_int(battery, "bi", current_default);
  append_line(
      text, current < 0 ? "Discharging current:" : "Current:",
      format_text(kFigureCapacity, "%.2f A", std::fabs(static_cast<double>(current)) * 0.001),
      layout);
  const std::int32_t to_full = jget_int(battery, "batf", kAbsent);
  if (to_full != kAbsent) {
    append_line(text, "Average time to full:", minutes_text(to_full), layout);
  }
  const std::int32_t to_empty = jget_int(battery, "bate", kAbsent);
  if (to_empty != kAbsent) {
    append_line(text, "Average time to empty:", minutes_text(to_empty), layout);
  }
  const std::int32_t remaining = jget_int(battery, "bc", kAbsent);
  if (remaining != kAbsent) {
    append_line(text, "Remain Capacity:", format_text(kFigureCapacity, "%d mAh", remaining),
                layout);
  }
  const std::int32_t full = jget_int(battery, "bf", kAbsent);
  if (full != kAbsent) {
    append_line(text, "Full Capacity:", format_text(kFigureCapacity, "%d mAh", full), layout);
  }
}

std::string no_battery_text(const PanelLayout& layout) {
  return cut_text(layout_wrap(kNoBatteryStatus, layout.chars_per_line), kBatteryTextCapacity);
}

// A line of dashes across the panel; a rule wider than the largest text would be cut anyway.
std::string battery_rule(const PanelLayout& layout) {
  const std::size_t width =
      layout.chars_per_line <= 0
          ? 0
          : std::min(static_cast<std::size_t>(layout.chars_per_line), kMaxTextCapacity);
  return layout_wrap(std::string(width, '-'), layout.chars_per_line);
}

// The batteries of the report, borrowed from it; null without a "bat_info" array.
const json_t* battery_list(const JsonPtr& report) {
  const json_t* batteries = json_object_get(report.get(), "bat_info");
  return json_is_array(batteries) ? batteries : nullptr;
}

}  // namespace

JsonPtr devcmd_extpower() {
  return first_report(device_answer({"extpower_status"}));
}

JsonPtr power_consumption_menu_items(const PanelLayout& layout) {
  JsonPtr items = json_own(json_array());
  const std::string title = extpower_source_title();
  json_append(items.get(), menu_item_poll(kInputPowerId, title.c_str(), kInputPowerId, kPollTtl));
  json_append(items.get(), menu_item_submenu("pwr_consume_status_battery_menu_static", "Battery",
                                             battery_menu_items(layout)));
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return items;
}

JsonPtr battery_menu_items(const PanelLayout& layout) {
  const JsonPtr report = devcmd_extpower();
  const json_t* batteries = battery_list(report);
  if (batteries == nullptr || json_array_size(batteries) == 0) {
    return menu_item_custom_content(kNoBatteryStatus, layout);
  }
  JsonPtr items = json_own(json_array());
  for (std::size_t i = 0; i < json_array_size(batteries); ++i) {
    const json_t* battery = json_array_get(batteries, i);
    const char* name = jget_string(battery, "name", "");
    if (name[0] == '\0') {
      continue;  // the panel has nothing to title it with
    }
    const std::string id =
        format_text(kItemIdCapacity, "%s%d", kBatteryItemPrefix, jget_int(battery, "id", 0));
    json_append(items.get(), menu_item_poll(id.c_str(), name, id.c_str(), kPollTtl));
  }
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return items;
}

std::string extpower_source_title() {
  const JsonPtr report = devcmd_extpower();
  const char* source = jget_string(report.get(), "tp", "");
  return format_text(kTextCapacity, "Source: %s", source[0] != '\0' ? source : "Detecting");
}

std::string extpower_render_input_power(const PanelLayout& layout) {
  const JsonPtr report = devcmd_extpower();
  const char* source = jget_string(report.get(), "tp", "");
  const char* power = jget_string(report.get(), "pw", "");
  TextBuffer text(kLongTextCapacity);
  if (source[0] != '\0' && power[0] != '\0') {
    text.append(layout_label_value(format_text(kTextCapacity, "%s Input Power:", source),
                                   format_text(kTextCapacity, "%s W", power), layout));
  }
  // The device names no power while it is still finding out which input feeds the router.
  if (text.empty()) {
    text.append(layout_label_value("Source:", "Detecting", layout));
  }
  return layout_finish(layout, text.str(), kLongTextCapacity);
}

namespace {

// The batteries id selects, or all of them with a rule after each, one after the other.
std::string render_batteries(std::optional<int> id, const PanelLayout& layout) {
  const JsonPtr report = devcmd_extpower();
  const json_t* batteries = battery_list(report);
  if (batteries == nullptr) {
    return no_battery_text(layout);  // shown as it is, not pushed down by the theme
  }
  TextBuffer text(kBatteryTextCapacity);
  for (std::size_t i = 0; i < json_array_size(batteries); ++i) {
    const json_t* battery = json_array_get(batteries, i);
    if (id) {
      if (jget_int(battery, "id", 0) == *id) {
        append_battery(text, battery, 0, layout);
      }
      continue;
    }
    // In the list of all batteries a battery without a current reads as discharging.
    append_battery(text, battery, kAbsent, layout);
    if (!text.empty()) {
      text.append("\n");
      text.append(battery_rule(layout));
    }
  }
  if (text.empty()) {
    text.append(no_battery_text(layout));
  }
  return layout_finish(layout, text.str(), kBatteryTextCapacity);
}

}  // namespace

std::string battery_render_one(int id, const PanelLayout& layout) {
  return render_batteries(id, layout);
}

std::string battery_render_all(const PanelLayout& layout) {
  return render_batteries(std::nullopt, layout);
}

}  // namespace tavio
