#include "power/unit_menus.h"

#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "layout/item_ids.h"
#include "layout/menu_items.h"
#include "platform/json_build.h"
#include "platform/json_get.h"
#include "platform/numbers.h"
#include "platform/text_buffer.h"
#include "power/device_commands.h"
#include "power/unit_config.h"

namespace tavio {
namespace {

// A menu node packed with the layout's font size: the top nodes of the power tree.
JsonPtr sized_node(const char* id, const char* title, JsonPtr items, const PanelLayout& layout) {
  if (!items) {
    return nullptr;
  }
  return JsonObjectBuilder()
      .text("id", id)
      .text("t", title)
      .integer("sz", layout.font_size)
      .take("m", std::move(items))
      .done();
}

std::string with_serial(const char* format, const std::string& serial) {
  return format_text(kItemIdCapacity, format, serial.c_str());
}

// A polled entry whose id and key are the family's identifier for the unit.
JsonPtr status_entry(const ItemKey& family, const std::string& serial, const char* title) {
  const std::string id = format_item_id(family, {0, serial});
  return menu_item_poll(id.c_str(), title, id.c_str());
}

// Device Status of a PMU: port states, temperature, input and output figures.
JsonPtr pmu_status_menu(PowerUnitType type, const std::string& serial, const PanelLayout& layout) {
  const bool local = type == PowerUnitType::kIntegratedPmu;
  JsonPtr items = json_own(json_array());
  const struct {
    ItemKey local_family;
    ItemKey external_family;
    const char* title;
  } rows[] = {
      {item::kLocalPmuPortState, item::kExtPmuPortState, "Port Status"},
      {item::kLocalPmuTemperature, item::kExtPmuTemperature, "Temperature"},
      {item::kLocalPmuInputVoltage, item::kExtPmuInputVoltage, "Input Voltage"},
      {item::kLocalPmuInputCurrent, item::kExtPmuInputCurrent, "Input Current"},
      {item::kLocalPmuOutputVoltage, item::kExtPmuOutputVoltage, "Output Voltage"},
      {item::kLocalPmuOutputCurrent, item::kExtPmuOutputCurrent, "Output Current"},
  };
  for (const auto& row : rows) {
    json_append(items.get(),
                status_entry(local ? row.local_family : row.external_family, serial, row.title));
  }
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(with_serial("pmu_dev_status_%s", serial).c_str(), "Device Status",
                           std::move(items));
}

// Device Status of a PDU: port states, temperature, voltage and current.
JsonPtr pdu_status_menu(const std::string& serial, const PanelLayout& layout) {
  JsonPtr items = json_own(json_array());
  json_append(items.get(), status_entry(item::kPduPortState, serial, "Port Status"));
  json_append(items.get(), status_entry(item::kPduTemperature, serial, "Temperature"));
  json_append(items.get(), status_entry(item::kPduVoltage, serial, "Voltage"));
  json_append(items.get(), status_entry(item::kPduCurrent, serial, "Current"));
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(with_serial("pmu_dev_status_%s", serial).c_str(), "Device Status",
                           std::move(items));
}

// A static text item of one label and value, id formed with the serial.
JsonPtr label_item(const char* id_format, const std::string& serial, const char* title,
                   const char* label, const char* value, const PanelLayout& layout) {
  return menu_item_label_value(with_serial(id_format, serial).c_str(), title, label, value, layout);
}

// Device Info of an external PMU.
JsonPtr pmu_info_menu(const std::string& serial, const json_t* devinfo, const PanelLayout& layout) {
  JsonPtr items = json_own(json_array());
  const struct {
    const char* id;
    const char* title;
    const char* label;
    const char* member;  // null: the serial itself, always shown
  } rows[] = {
      {"pmu_dev_name_%s", "Product Name", "Product Name:", "prod_name"},
      {"pmu_dev_sn_%s", "Serial Number", "Serial Number:", nullptr},
      {"pmu_dev_fw_%s", "Firmware Version", "Firmware Version:", "fw_ver"},
      {"pmu_dev_hw_rev_%s", "Hardware Rev", "Hardware Rev:", "hw_rev"},
  };
  for (const auto& row : rows) {
    const char* value =
        row.member == nullptr ? serial.c_str() : jget_string(devinfo, row.member, "");
    if (value[0] != '\0') {
      json_append(items.get(), label_item(row.id, serial, row.title, row.label, value, layout));
    }
  }
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(with_serial("pmu_dev_info_%s", serial).c_str(), "Device Info",
                           std::move(items));
}

// Network of an external PMU; other units have none.
JsonPtr pmu_network_menu(PowerUnitType type, const std::string& serial, const json_t* network,
                         const PanelLayout& layout) {
  if (type != PowerUnitType::kExternalPmu || serial.empty() || network == nullptr) {
    return nullptr;
  }
  JsonPtr items = json_own(json_array());
  const char* dhcp = std::strcmp(jget_string(network, "DHCP", ""), "1") == 0 ? "Enable" : "Disable";
  const struct {
    const char* id;
    const char* title;
    const char* label;
    const char* value;
  } rows[] = {
      {"pmu_nw_dhcp_status_%s", "DHCP", "DHCP:", dhcp},
      {"pmu_nw_ip_status_%s", "IP Address", "IP Address:", jget_string(network, "ip", "")},
      {"pmu_nw_mask_status_%s", "Subnet Mask", "Subnet Mask:", jget_string(network, "Netmask", "")},
      {"pmu_nw_gw_status_%s", "Gateway", "Gateway:", jget_string(network, "Gateway", "")},
      {"pmu_nw_dns_status_%s", "DNS", "DNS:", jget_string(network, "DNS", "")},
  };
  for (const auto& row : rows) {
    json_append(items.get(), label_item(row.id, serial, row.title, row.label, row.value, layout));
  }
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return menu_item_submenu(with_serial("pmu_nw_%s", serial).c_str(), "Network", std::move(items));
}

/// What a unit's own menu needs from its record.
struct UnitRecord {
  int ports;
  std::string serial;
  const json_t* devinfo;
  const json_t* config;
};

// Nothing when the record lacks device information, a port count of at least 1, a
// configuration or a serial.
std::optional<UnitRecord> unit_record(const json_t* record) {
  const json_t* devinfo = json_object_get(record, "devinfo");
  const json_t* attributes = json_object_get(devinfo, "attr");
  if (attributes == nullptr) {
    return std::nullopt;
  }
  const char* count = jget_string(attributes, "port_num", "1");
  const int ports = count[0] == '\0' ? 1 : clamp_to_int(std::strtol(count, nullptr, 10));
  const json_t* config = json_object_get(record, "config");
  const char* serial = jget_string(devinfo, "serial_num", "");
  if (ports < 1 || config == nullptr || serial[0] == '\0') {
    return std::nullopt;
  }
  return UnitRecord{ports, serial, devinfo, config};
}

// The first unit of the type in the device list; null without one.
const json_t* first_unit(const json_t* list, PowerUnitType type) {
  const std::vector<json_t*> units = power_units_of_type(list, type);
  return units.empty() ? nullptr : units.front();
}

// Integrated PMU: only the first one, straight to its own menu.
JsonPtr power_menu_local(const json_t* list, const PanelLayout& layout) {
  const json_t* unit = first_unit(list, PowerUnitType::kIntegratedPmu);
  if (unit == nullptr) {
    return nullptr;
  }
  return sized_node("local_pmu_menu", "Integrated PMU",
                    pmu_unit_menu(PowerUnitType::kIntegratedPmu, unit, layout), layout);
}

// External PMU: one entry per unit, titled with its serial.
JsonPtr power_menu_external(const json_t* list, const PanelLayout& layout) {
  const std::vector<json_t*> units = power_units_of_type(list, PowerUnitType::kExternalPmu);
  if (units.empty()) {
    return nullptr;
  }
  JsonPtr items = json_own(json_array());
  for (const json_t* unit : units) {
    const std::string serial = cut_text(jget_string(unit, "sn", ""), kItemIdCapacity);
    // A unit whose own menu cannot be built has no entry, yet the list is still shown.
    json_append(items.get(),
                menu_item_submenu(with_serial("pmu_%s", serial).c_str(), serial.c_str(),
                                  pmu_unit_menu(PowerUnitType::kExternalPmu, unit, layout)));
  }
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return sized_node("ext_pmu_menu", "External PMU", std::move(items), layout);
}

JsonPtr pmu_items(const json_t* list, const PanelLayout& layout) {
  JsonPtr items = json_own(json_array());
  json_append(items.get(), power_menu_local(list, layout));
  json_append(items.get(), power_menu_external(list, layout));
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return items;
}

}  // namespace

JsonPtr pmu_unit_menu(PowerUnitType type, const json_t* record, const PanelLayout& layout) {
  const std::optional<UnitRecord> unit = unit_record(record);
  if (!unit) {
    return nullptr;
  }
  JsonPtr items = json_own(json_array());
  if (type == PowerUnitType::kExternalPmu) {
    json_append(items.get(), pmu_info_menu(unit->serial, unit->devinfo, layout));
  }
  json_append(items.get(), pmu_status_menu(type, unit->serial, layout));
  json_append(items.get(),
              pmu_config_menu(type, unit->ports, unit->serial.c_str(), unit->config, {}, layout));
  json_append(items.get(), pmu_network_menu(type, unit->serial,
                                            json_object_get(unit->config, "network"), layout));
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return items;
}

JsonPtr pdu_unit_menu(const json_t* record, const PanelLayout& layout) {
  const std::optional<UnitRecord> unit = unit_record(record);
  if (!unit) {
    return nullptr;
  }
  const ProtectedPorts management_ports =
      protected_ports_of(json_object_get(unit->devinfo, "mgmt_port"));
  JsonPtr items = json_own(json_array());
  json_append(items.get(), pdu_status_menu(unit->serial, layout));
  json_append(items.get(), pmu_config_menu(PowerUnitType::kPdu, unit->ports, unit->serial.c_str(),
                                           unit->config, management_ports, layout));
  // Only external PMUs have a network of their own: a PDU shows no network submenu.
  json_append(items.get(), menu_item_separator(layout.chars_per_line));
  return items;
}

JsonPtr power_menu_main(const PanelLayout& layout) {
  const JsonPtr list = devcmd_list();
  if (!list || json_array_size(list.get()) == 0) {
    return nullptr;
  }
  if (const json_t* pdu = first_unit(list.get(), PowerUnitType::kPdu)) {
    if (JsonPtr menu = pdu_unit_menu(pdu, layout)) {
      return sized_node("pdu_pmu_main", "PDU", std::move(menu), layout);
    }
  }
  return sized_node("pmu_main", "PMU", pmu_items(list.get(), layout), layout);
}

JsonPtr power_menu_pmu_items(const PanelLayout& layout) {
  const JsonPtr list = devcmd_list();
  return list ? pmu_items(list.get(), layout) : nullptr;
}

JsonPtr power_menu_pdu_items(const PanelLayout& layout) {
  const JsonPtr list = devcmd_list();
  const json_t* pdu = first_unit(list.get(), PowerUnitType::kPdu);
  return pdu == nullptr ? nullptr : pdu_unit_menu(pdu, layout);
}

}  // namespace tavio
