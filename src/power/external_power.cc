#include "power/external_power.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>

#include "layout/panel_text.h"
#include "platform/router_paths.h"
#include "power/unit_commands.h"
#include "protocol/item_ids.h"
#include "protocol/json_build.h"
#include "protocol/json_get.h"
#include "protocol/menu_items.h"
#include "sources/device_tool.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr char kNoBatteryStatus[] = "Cannot get battery status.";
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

// A figure the device reports, read as jget_int reads it; the value the device uses for a
// figure it does not have counts as left out.
std::optional<std::int32_t> figure(const json_t* battery, const char* key) {
  const std::int32_t value = jget_int(battery, key, kAbsent);
  return value == kAbsent ? std::nullopt : std::optional<std::int32_t>(value);
}

Battery battery_of(const json_t* battery) {
  Battery record;
  record.id = jget_int(battery, "id", 0);
  record.name = jget_string(battery, "name", "");
  record.temperature = figure(battery, "bt");
  record.voltage = figure(battery, "bv");
  if (json_object_get(battery, "bi") != nullptr) {
    record.current = jget_int(battery, "bi", 0);
  }
  record.minutes_to_full = figure(battery, "batf");
  record.minutes_to_empty = figure(battery, "bate");
  record.remaining_mah = figure(battery, "bc");
  record.full_mah = figure(battery, "bf");
  return record;
}

// Name:            Main
// Temperature:
//      26.9 degree Cel.
// Voltage:      12.60 V  ...
//
// Each figure is converted from the device's tenths of a kelvin, millivolts and milliamperes
// in double precision. Every line but the name starts with "\n", so a battery without a
// name begins with an empty line: the display keeps the name's line, so the figures of every
// battery start on the same line of the screen.
void append_battery(TextBuffer& text, const Battery& battery, std::int32_t current_default,
                    const PanelLayout& layout) {
  if (!text.empty()) {
    text.append("\n");
  }
  if (!battery.name.empty()) {
    text.append(layout_label_value("Name:", battery.name, layout));
  }
  if (battery.temperature) {
    append_line(text, "Temperature:",
                format_text(kFigureCapacity, "%.1f degree Cel.",
                            static_cast<double>(*battery.temperature) * 0.1 - 273.15),
                layout);
  }
  if (battery.voltage) {
    append_line(
        text, "Voltage:",
        format_text(kFigureCapacity, "%.2f V", static_cast<double>(*battery.voltage) * 0.001),
        layout);
  }
  // The magnitude is taken after the conversion, so the lowest 32-bit current has one too.
  const std::int32_t current = battery.current.value_or(current_default);
  append_line(
      text, current < 0 ? "Discharging current:" : "Current:",
      format_text(kFigureCapacity, "%.2f A", std::fabs(static_cast<double>(current)) * 0.001),
      layout);
  if (battery.minutes_to_full) {
    append_line(text, "Average time to full:", minutes_text(*battery.minutes_to_full), layout);
  }
  if (battery.minutes_to_empty) {
    append_line(text, "Average time to empty:", minutes_text(*battery.minutes_to_empty), layout);
  }
  if (battery.remaining_mah) {
    append_line(text,
                "Remain Capacity:", format_text(kFigureCapacity, "%d mAh", *battery.remaining_mah),
                layout);
  }
  if (battery.full_mah) {
    append_line(text, "Full Capacity:", format_text(kFigureCapacity, "%d mAh", *battery.full_mah),
                layout);
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

}  // namespace

std::optional<ExternalPower> extpower_collect() {
  const JsonPtr answer = device_answer({"extpower_status"});
  const json_t* report = first_report(answer.get());
  if (report == nullptr) {
    return std::nullopt;
  }
  ExternalPower power;
  power.source = jget_string(report, "tp", "");
  power.power = jget_string(report, "pw", "");
  const json_t* batteries = json_object_get(report, "bat_info");
  if (json_is_array(batteries)) {
    power.batteries.emplace();
    for (std::size_t i = 0; i < json_array_size(batteries) && i < kMaxBatteries; ++i) {
      power.batteries->push_back(battery_of(json_array_get(batteries, i)));
    }
  }
  return power;
}

JsonPtr power_consumption_menu_items(const PanelLayout& layout) {
  JsonArrayBuilder items;
  const std::string title = extpower_source_title();
  items.add(menu_item_poll(item::kInputPower.name, title.c_str(), item::kInputPower.name));
  items.add(menu_item_submenu("pwr_consume_status_battery_menu_static", "Battery",
                              battery_menu_items(layout)));
  items.add(menu_item_separator(layout.chars_per_line));
  return items.done();
}

JsonPtr battery_menu_items(const PanelLayout& layout) {
  const std::optional<ExternalPower> power = extpower_collect();
  if (!power || !power->batteries || power->batteries->empty()) {
    return menu_item_custom_content(kNoBatteryStatus, layout);
  }
  JsonArrayBuilder items;
  for (const Battery& battery : *power->batteries) {
    if (battery.name.empty()) {
      continue;  // the panel has nothing to title it with
    }
    const std::string id = format_item_id(item::kBattery, {battery.id, ""});
    items.add(menu_item_poll(id.c_str(), battery.name.c_str(), id.c_str()));
  }
  items.add(menu_item_separator(layout.chars_per_line));
  return items.done();
}

std::string extpower_source_title() {
  const std::optional<ExternalPower> power = extpower_collect();
  const bool known = power && !power->source.empty();
  return format_text(kTextCapacity, "Source: %s", known ? power->source.c_str() : "Detecting");
}

std::string extpower_render_input_power(const PanelLayout& layout) {
  const std::optional<ExternalPower> power = extpower_collect();
  TextBuffer text(kLongTextCapacity);
  if (power && !power->source.empty() && !power->power.empty()) {
    text.append(
        layout_label_value(format_text(kTextCapacity, "%s Input Power:", power->source.c_str()),
                           format_text(kTextCapacity, "%s W", power->power.c_str()), layout));
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
  const std::optional<ExternalPower> power = extpower_collect();
  if (!power || !power->batteries) {
    return no_battery_text(layout);  // shown as it is, not pushed down by the theme
  }
  TextBuffer text(kBatteryTextCapacity);
  for (const Battery& battery : *power->batteries) {
    if (id) {
      if (battery.id == *id) {
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
