// The router's external power input and its batteries, as the device tool reports them with
// "capwap_cli extpower_status": the power-consumption menu with its battery submenu, and the
// input-power and battery texts the panel polls. Every failure of the tool shows as
// "Cannot get battery status." or "Source: Detecting", never as an error of its own.
#ifndef TAVIO_POWER_EXTERNAL_POWER_H
#define TAVIO_POWER_EXTERNAL_POWER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"

namespace tavio {

/// One battery as the external-power report lists it; a figure the device leaves out is
/// nothing.
struct Battery {
  int id = 0;
  std::string name;
  std::optional<std::int32_t> temperature;  ///< tenths of a kelvin
  std::optional<std::int32_t> voltage;      ///< millivolts
  std::optional<std::int32_t> current;      ///< milliamperes, negative while discharging
  std::optional<std::int32_t> minutes_to_full;
  std::optional<std::int32_t> minutes_to_empty;
  std::optional<std::int32_t> remaining_mah;
  std::optional<std::int32_t> full_mah;
};

/// The most batteries of a report that are read. The external power input feeds one or two
/// batteries; 8 leaves room.
constexpr std::size_t kMaxBatteries = 8;

/// The external power input and the batteries.
struct ExternalPower {
  std::string source;  ///< the input that feeds the router; "" while the device is finding out
  std::string power;   ///< its power in watts; "" while unknown
  /// Nothing when the report lists none; at most kMaxBatteries.
  std::optional<std::vector<Battery>> batteries;
};

/// The external-power report ("capwap_cli extpower_status"); nothing when the tool fails.
[[nodiscard]] std::optional<ExternalPower> extpower_collect();

/// The power-consumption menu: the input-power entry titled by the source, the "Battery"
/// submenu and a separator.
[[nodiscard]] JsonPtr power_consumption_menu_items(const PanelLayout& layout);
/// One polled entry per named battery and a separator; "Cannot get battery status." as the
/// menu's only content when the report lists no batteries.
[[nodiscard]] JsonPtr battery_menu_items(const PanelLayout& layout);
/// "Source: " and the reported source, or "Source: Detecting"; not laid out.
[[nodiscard]] std::string extpower_source_title();
/// "<source> Input Power:" and "<power> W", or "Source:" and "Detecting" while either is
/// unknown.
[[nodiscard]] std::string extpower_render_input_power(const PanelLayout& layout);
/// The figures of every battery whose "id" is id, or "Cannot get battery status.".
[[nodiscard]] std::string battery_render_one(int id, const PanelLayout& layout);
/// The figures of every battery, each followed by a rule, or "Cannot get battery status.".
[[nodiscard]] std::string battery_render_all(const PanelLayout& layout);

}  // namespace tavio

#endif
