// The power units' menus: the power entry of the main menu, the integrated PMU, the list of
// external PMUs, the PDU, and each unit's status, information, configuration and network.
// Every build reads the run's device list (asked of the device tool once per run and kept).
#ifndef TAVIO_POWER_UNIT_MENUS_H
#define TAVIO_POWER_UNIT_MENUS_H

#include "power/unit_records.h"
#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"
#include "tavio/power_unit.h"

namespace tavio {

/// The main menu's power entry: "PDU" when a PDU is attached, else "PMU"; null when the
/// device list cannot be had or is empty.
[[nodiscard]] JsonPtr power_menu_main(const PanelLayout& layout);
/// The "pmu_menu" items: the integrated PMU, the external PMUs, a separator; null without a
/// device list.
[[nodiscard]] JsonPtr power_menu_pmu_items(const PanelLayout& layout);
/// The "pdu_menu" items: the first PDU's own menu; null without one.
[[nodiscard]] JsonPtr power_menu_pdu_items(const PanelLayout& layout);
/// The items of one PMU (integrated or external); null when its record lacks what they need
/// (device information with a port count of at least 1, a configuration, a serial).
[[nodiscard]] JsonPtr pmu_unit_menu(PowerUnitType type, const PowerUnit& unit,
                                    const PanelLayout& layout);
/// The items of one PDU; null when its record lacks what they need.
[[nodiscard]] JsonPtr pdu_unit_menu(const PowerUnit& unit, const PanelLayout& layout);

}  // namespace tavio

#endif
