#include "power/unit_menus.h"

#include <optional>
#include <string>
#include <vector>

#include "power/unit_commands.h"
#include "power/unit_config.h"
#include "protocol/item_ids.h"
#include "protocol/json_build.h"
#include "protocol/menu_items.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

// Device Status: one polled entry per row, its id and key the family's identifier for the
// unit, then the separator. Null when the families cannot carry the serial whole: such
// entries would read another unit's values, or none.
struct StatusRow {
  ItemKey family;
  const char* title;
};
template <std::size_t N>
JsonPtr status_menu(const StatusRow (&rows)[N], const std::string& serial,
                    const PanelLayout& layout) {
  JsonArrayBuilder items;
  for (const StatusRow& row : rows) {
    const std::optional<std::string> id = exact_item_id(row.family, {0, serial});
    if (!id) {
      return nullptr;
    }
    items.add(menu_item_poll(id->c_str(), row.title, id->c_str()));
  }
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(unit_item_id("pmu_dev_status_", serial).c_str(), "Device Status",
                           items.done());
}

// Device Status of a PMU: port states, temperature, input and output figures.
JsonPtr pmu_status_menu(PowerUnitType type, const std::string& serial, const PanelLayout& layout) {
  static const StatusRow kLocal[] = {
      {item::kLocalPmuPortState, "Port Status"},
      {item::kLocalPmuTemperature, "Temperature"},
      {item::kLocalPmuInputVoltage, "Input Voltage"},
      {item::kLocalPmuInputCurrent, "Input Current"},
      {item::kLocalPmuOutputVoltage, "Output Voltage"},
      {item::kLocalPmuOutputCurrent, "Output Current"},
  };
  static const StatusRow kExternal[] = {
      {item::kExtPmuPortState, "Port Status"},
      {item::kExtPmuTemperature, "Temperature"},
      {item::kExtPmuInputVoltage, "Input Voltage"},
      {item::kExtPmuInputCurrent, "Input Current"},
      {item::kExtPmuOutputVoltage, "Output Voltage"},
      {item::kExtPmuOutputCurrent, "Output Current"},
  };
  return type == PowerUnitType::kIntegratedPmu ? status_menu(kLocal, serial, layout)
                                               : status_menu(kExternal, serial, layout);
}

// Device Status of a PDU: port states, temperature, voltage and current.
JsonPtr pdu_status_menu(const std::string& serial, const PanelLayout& layout) {
  static const StatusRow kPdu[] = {
      {item::kPduPortState, "Port Status"},
      {item::kPduTemperature, "Temperature"},
      {item::kPduVoltage, "Voltage"},
      {item::kPduCurrent, "Current"},
  };
  return status_menu(kPdu, serial, layout);
}

// Device Info of an external PMU.
JsonPtr pmu_info_menu(const UnitDetails& details, const PanelLayout& layout) {
  const std::string& serial = details.serial;
  JsonArrayBuilder items;
  const struct {
    const char* id;
    const char* title;
    const char* label;
    const std::string& value;  // shown when not empty; the serial always is
  } rows[] = {
      {"pmu_dev_name_", "Product Name", "Product Name:", details.name},
      {"pmu_dev_sn_", "Serial Number", "Serial Number:", serial},
      {"pmu_dev_fw_", "Firmware Version", "Firmware Version:", details.firmware},
      {"pmu_dev_hw_rev_", "Hardware Rev", "Hardware Rev:", details.hardware_revision},
  };
  for (const auto& row : rows) {
    if (!row.value.empty()) {
      items.add(unit_text_item(row.id, serial, row.title, row.label, row.value, layout));
    }
  }
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(unit_item_id("pmu_dev_info_", serial).c_str(), "Device Info",
                           items.done());
}

// Network of an external PMU; other units have none.
JsonPtr pmu_network_menu(PowerUnitType type, const std::string& serial,
                         const std::optional<UnitNetwork>& network, const PanelLayout& layout) {
  if (type != PowerUnitType::kExternalPmu || !network) {
    return nullptr;
  }
  JsonArrayBuilder items;
  const struct {
    const char* id;
    const char* title;
    const char* label;
    std::string value;
  } rows[] = {
      {"pmu_nw_dhcp_status_", "DHCP", "DHCP:", network->dhcp ? "Enable" : "Disable"},
      {"pmu_nw_ip_status_", "IP Address", "IP Address:", network->ip},
      {"pmu_nw_mask_status_", "Subnet Mask", "Subnet Mask:", network->netmask},
      {"pmu_nw_gw_status_", "Gateway", "Gateway:", network->gateway},
      {"pmu_nw_dns_status_", "DNS", "DNS:", network->dns},
  };
  for (const auto& row : rows) {
    items.add(unit_text_item(row.id, serial, row.title, row.label, row.value, layout));
  }
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(unit_item_id("pmu_nw_", serial).c_str(), "Network", items.done());
}

// The port count a unit's own menu is built for; nothing when the unit lacks device
// information with attributes, a configuration or a serial, or has no port.
std::optional<int> unit_menu_ports(const PowerUnit& unit) {
  if (!unit.details || !unit.details->ports || !unit.config || unit.details->serial.empty()) {
    return std::nullopt;
  }
  const int ports = ports_for_menus(*unit.details->ports);
  return ports >= 1 ? std::optional<int>(ports) : std::nullopt;
}

// The first unit of the type in the device list; null without one.
const PowerUnit* first_unit(const PowerUnitList& list, PowerUnitType type) {
  const std::vector<const PowerUnit*> units = power_units_of_type(list, type);
  return units.empty() ? nullptr : units.front();
}

// Integrated PMU: only the first one, straight to its own menu.
JsonPtr power_menu_local(const PowerUnitList& list, const PanelLayout& layout) {
  const PowerUnit* unit = first_unit(list, PowerUnitType::kIntegratedPmu);
  if (unit == nullptr) {
    return nullptr;
  }
  return menu_item_sized_submenu("local_pmu_menu", "Integrated PMU",
                                 pmu_unit_menu(PowerUnitType::kIntegratedPmu, *unit, layout),
                                 layout);
}

// External PMU: one entry per unit, titled with its serial.
JsonPtr power_menu_external(const PowerUnitList& list, const PanelLayout& layout) {
  const std::vector<const PowerUnit*> units =
      power_units_of_type(list, PowerUnitType::kExternalPmu);
  if (units.empty()) {
    return nullptr;
  }
  JsonArrayBuilder items;
  for (const PowerUnit* unit : units) {
    const std::string serial = cut_text(unit->serial, kItemIdCapacity);
    // A unit whose own menu cannot be built has no entry, yet the list is still shown.
    items.add(menu_item_submenu(unit_item_id("pmu_", serial).c_str(), serial.c_str(),
                                pmu_unit_menu(PowerUnitType::kExternalPmu, *unit, layout)));
  }
  items.add(menu_item_separator(layout.chars_per_line));
  return menu_item_sized_submenu("ext_pmu_menu", "External PMU", items.done(), layout);
}

JsonPtr pmu_items(const PowerUnitList& list, const PanelLayout& layout) {
  JsonArrayBuilder items;
  items.add(power_menu_local(list, layout));
  items.add(power_menu_external(list, layout));
  items.add(menu_item_separator(layout.chars_per_line));
  return items.done();
}

}  // namespace

JsonPtr pmu_unit_menu(PowerUnitType type, const PowerUnit& unit, const PanelLayout& layout) {
  const std::optional<int> ports = unit_menu_ports(unit);
  if (!ports) {
    return nullptr;
  }
  const UnitDetails& details = *unit.details;
  JsonArrayBuilder items;
  if (type == PowerUnitType::kExternalPmu) {
    items.add(pmu_info_menu(details, layout));
  }
  items.add(pmu_status_menu(type, details.serial, layout));
  items.add(pmu_config_menu(type, *ports, details.serial, *unit.config, {}, layout));
  items.add(pmu_network_menu(type, details.serial, unit.config->network, layout));
  items.add(menu_item_separator(layout.chars_per_line));
  return items.done();
}

JsonPtr pdu_unit_menu(const PowerUnit& unit, const PanelLayout& layout) {
  const std::optional<int> ports = unit_menu_ports(unit);
  if (!ports) {
    return nullptr;
  }
  const UnitDetails& details = *unit.details;
  JsonArrayBuilder items;
  items.add(pdu_status_menu(details.serial, layout));
  items.add(pmu_config_menu(PowerUnitType::kPdu, *ports, details.serial, *unit.config,
                            details.management_ports, layout));
  // Only external PMUs have a network of their own: a PDU shows no network submenu.
  items.add(menu_item_separator(layout.chars_per_line));
  return items.done();
}

JsonPtr power_menu_main(const PanelLayout& layout) {
  const std::optional<PowerUnitList> list = power_unit_list_collect();
  if (!list || list->items.empty()) {
    return nullptr;
  }
  if (const PowerUnit* pdu = first_unit(*list, PowerUnitType::kPdu)) {
    if (JsonPtr menu = pdu_unit_menu(*pdu, layout)) {
      return menu_item_sized_submenu("pdu_pmu_main", "PDU", std::move(menu), layout);
    }
  }
  return menu_item_sized_submenu("pmu_main", "PMU", pmu_items(*list, layout), layout);
}

JsonPtr power_menu_pmu_items(const PanelLayout& layout) {
  const std::optional<PowerUnitList> list = power_unit_list_collect();
  return list ? pmu_items(*list, layout) : nullptr;
}

JsonPtr power_menu_pdu_items(const PanelLayout& layout) {
  const std::optional<PowerUnitList> list = power_unit_list_collect();
  const PowerUnit* pdu = list ? first_unit(*list, PowerUnitType::kPdu) : nullptr;
  return pdu == nullptr ? nullptr : pdu_unit_menu(*pdu, layout);
}

}  // namespace tavio
