#include "diag/dump.h"

#include <jansson.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "menus/main_menu.h"
#include "panel/display_prefs.h"
#include "platform/router_support.h"
#include "power/external_power.h"
#include "power/unit_commands.h"
#include "power/unit_status.h"
#include "settings/port_media.h"
#include "settings/remote_assist.h"
#include "status/lan_ha_status.h"
#include "status/port_status.h"
#include "status/system_info.h"
#include "status/traffic_status.h"
#include "status/vpn_status.h"
#include "status/wan_status.h"
#include "status/wifi_status.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

using Text = std::optional<std::string>;

/// The most the dump prints. With every list bounded the example router's dump takes 10
/// kilobytes and a dump of the largest lists a few hundred; should damaged data still reach
/// this, the dump ends there with a line that says so.
constexpr std::size_t kMaxDumpBytes = std::size_t{1024} * 1024;

std::size_t g_printed = 0;
bool g_cut = false;

// Prints size bytes of data unless they would take the dump past kMaxDumpBytes; from the
// first piece that would, nothing more is printed but the line that says so.
void emit(const char* data, std::size_t size) {
  if (g_cut) {
    return;
  }
  if (g_printed + size > kMaxDumpBytes) {
    g_cut = true;
    std::printf("\n<dump cut at %zu bytes>\n", kMaxDumpBytes);
    return;
  }
  g_printed += size;
  std::fwrite(data, 1, size, stdout);
}

// printf through emit. Pieces are formatted once, into a buffer that holds the longest text
// a renderer makes; only a longer one is formatted again.
void print(const char* format, ...) __attribute__((format(printf, 1, 2)));
void print(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  std::va_list first;
  va_copy(first, args);
  std::array<char, 2 * kMaxTextCapacity> small;
  const int length = std::vsnprintf(small.data(), small.size(), format, first);
  va_end(first);
  // A length below 0 (a conversion that failed; the dump's formats hold none) prints nothing.
  const auto size = static_cast<std::size_t>(length);
  if (length >= 0 && size < small.size()) {
    emit(small.data(), size);
  } else if (length >= 0) {
    std::string large(size + 1, '\0');
    std::vsnprintf(&large[0], large.size(), format, args);
    emit(large.data(), size);
  }
  va_end(args);
}

const char* or_fallback(const Text& text, const char* fallback) {
  return text ? text->c_str() : fallback;
}

void print_menu(const JsonPtr& menu) {
  print("\n ---------------- Read menu test\n");
  const JsonText text(menu ? json_dumps(menu.get(), 0) : nullptr);
  if (text) {
    print("\tMenu JSON\t=\n\t");
    emit(text.get(), std::strlen(text.get()));
    print("\n\n");
  } else {
    print("\tFail to create Menu JSON!!\n\n");
  }
}

void print_device_info(const PanelLayout& layout) {
  const std::optional<DeviceInfo> info = device_info_collect();
  const DeviceInfo* device = info ? &*info : nullptr;
  print("\tHardware revision = [%s]\n",
        or_fallback(render_hardware_revision(device, layout), "<Fail to load value!>"));
  print("\tFirmware version = [%s]\n",
        or_fallback(render_firmware(device, layout), "<Fail to load FW version!>"));
  print("\tDevice name\t= ['%s']\n",
        or_fallback(render_device_name(device, layout), "<Fail to load Device name!>"));
  print("\tSerial number\t= ['%s']\n",
        or_fallback(render_serial_number(device, layout), "<Fail to load Serial number!>"));
}

// One power unit's values: temperature, port count and every per-port quantity.
void print_power_unit(PowerUnitType type, const std::string& serial, const PanelLayout& layout) {
  print("\nPMU temperature:\n%s\n", pmu_render_temperature(type, serial, layout).c_str());
  print("\nPMU port_num = %d\n", unit_port_count(serial));
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
    print("\n%s:\n%s\n", section.title,
          render_port_quantity(section.quantity, type, serial, layout).c_str());
  }
}

// The units of one type in the list, numbered from 1 (the dump asks for the integrated and
// the external PMUs; PDUs are not dumped).
void print_power_units_of_type(PowerUnitType type, const PowerUnitList& list,
                               const PanelLayout& layout) {
  static const char* const kName = "dump_pmu_by_type";
  int count = 0;
  for (const PowerUnit& unit : list.items) {
    if (unit.type != type || unit.serial.empty()) {
      continue;
    }
    ++count;
    print("%s: ==========", kName);
    print("[%d] Serial Number=\"%s\" Product Name=\"%s\"\n", count, unit.serial.c_str(),
          unit.model.c_str());
    print_power_unit(type, unit.serial, layout);
    print("================================\n\n");
  }
  if (count == 0) {
    print("%s: No matching PMU type!\n", kName);
  }
}

// The grid of the panel without a serial, always in the default theme.
PanelLayout dump_layout() {
  PanelLayout layout = load_font_settings("");
  layout.theme_mode = ThemeMode::kDefault;
  return layout;
}

void print_lan_ports(const std::optional<PortStatusList>& ports) {
  if (!ports) {
    print("\n>>>> No MMI Dump LAN Port info!");
    return;
  }
  for (const PortStatus& port : ports->items) {
    print("\n\t[port_no=%d profile_name=\"%s\" status=\"%s\"", port.id, port.name.c_str(),
          port.link.c_str());
  }
  print("\n>>>>>>>>>>>>");
}

void print_wan_connections(const std::optional<WanStatusList>& wans) {
  static const char* const kName = "dump_corvane_wan_status_item_list";
  if (!wans) {
    print("%s No WAN status item!!!\n", kName);
    return;
  }
  for (const WanStatus& wan : wans->items) {
    // Only enabled connections are collected.
    print("%s:type=\"%s\" id=%d en=1 name='%s' msg='%s' ip='%s'", kName, wan.type.c_str(), wan.id,
          wan.name.c_str(), wan.message.c_str(), wan.ip.c_str());
    print(" Signal: rssi=%d dBm sinr=%.1f dB snr=%.1f dB", wan.strength, wan.sinr, wan.snr);
    print("  ecio=%.1f dB rsrp=%d dBm rsrq=%.1f dB\n", wan.ecio, wan.rsrp, wan.rsrq);
  }
}

void print_vpn_profiles(const std::optional<VpnStatusList>& vpns) {
  static const char* const kName = "dump_corvane_vpn_status_item_list";
  if (!vpns) {
    print("%s No VPN status item!!!\n", kName);
    return;
  }
  for (const VpnStatus& vpn : vpns->items) {
    print("%s: id=%d name='%s' status='%s' is_secure=%d\n", kName, vpn.id, vpn.name.c_str(),
          vpn.state.c_str(), vpn.secure ? 1 : 0);
  }
}

void print_wan_port_media(const std::optional<WanStatusList>& wans) {
  static const char* const kName = "dump_corvane_wan_port_speed";
  if (!wans) {
    print("%s No WAN port item!!!\n", kName);
    return;
  }
  for (const WanStatus& wan : wans->items) {
    const int physical_type = get_physical_type_ex(get_conn_port_id(wan.id), 0);
    const Text media = port_media_get(wan.id);
    print("%s: wan_id=%d name='%s' speed='%s' wan_type=%d %s\n", kName, wan.id, wan.name.c_str(),
          media ? media->c_str() : "Auto", physical_type,
          physical_type == 1 ? "(PHYSICAL_TYPE_ETHERNET)" : "");
  }
}

void print_power_units(const PanelLayout& layout) {
  static const char* const kName = "dump_pmu_info";
  const std::optional<PowerUnitList> list = power_unit_list_collect();
  if (!list) {
    print("%s: No pmu list!\n", kName);
    return;
  }
  if (list->items.empty()) {
    print("%s: PMU list is empty\n", kName);
  }
  print("%s: [Total PMU list len = %zu]\n", kName, list->items.size());
  print("%s: ===== PMU_TYPE_LOCAL\n", kName);
  print_power_units_of_type(PowerUnitType::kIntegratedPmu, *list, layout);
  print("%s: ========================\n\n", kName);
  print("%s: ===== PMU_TYPE_EXTERNAL\n", kName);
  print_power_units_of_type(PowerUnitType::kExternalPmu, *list, layout);
  print("%s: ========================\n", kName);
}

}  // namespace

void run_dump_mode(PanelType panel_type) {
  g_printed = 0;  // one dump per run; a test harness may run several
  g_cut = false;
  const PanelLayout layout = dump_layout();
  const bool power_panel = panel_type == PanelType::kPower;
  print_menu(power_panel ? power_consumption_menu_items(layout) : main_menu_items(false, layout));

  print("\n ---------------- Read value test");
  print("\n======\nDump Wi-Fi AP status\n%s\n=====\n",
        or_fallback(render_wifi_ap(layout), "<Fail to load valid value!>"));
  print("\n======\nDump HA Status\n%s\n=====\n",
        or_fallback(render_ha_status(layout), "<Fail to load valid value!>"));
  print_device_info(layout);
  print("\tSystem time\t= [%s]\n",
        or_fallback(render_system_time(layout), "<Fail to load systime!>"));
  print("\tSystem Up Time\t= [%s]\n",
        or_fallback(render_uptime(layout), "<Fail to load sysuptime!>"));
  print("\tCPU Load\t= [%s]\n", or_fallback(render_cpu_load(layout), "<Fail to load cpuload>"));

  print("\n============\nDump LAN Port content ======");
  if (const std::optional<PortStatusList> ports = port_status_collect(std::nullopt)) {
    print_lan_ports(ports);
  } else {
    print("\n\tFail to load LAN port list\n");
  }
  print("\n====================================");
  print("\n============\nDump LAN IP content\n%s\n====",
        or_fallback(render_lan_ip(layout), "<Fail to get LAN IP content!>"));
  print("\n============\nDump WAN Status\n\n=========");
  print_wan_connections(wan_status_collect(std::nullopt));
  print("\n========================");
  print("\n============\nDump VPN Status\n\n=========");
  print_vpn_profiles(vpn_status_collect());
  print("\n========================");
  print("\n============\nDump Throughput in\n%s\n=====",
        or_fallback(render_throughput(TrafficDirection::kIn, layout),
                    "<Fail to get Throughput in!>"));
  print("\n============\nDump Throughput out\n%s\n====",
        or_fallback(render_throughput(TrafficDirection::kOut, layout),
                    "<Fail to get Throughput out!>"));
  print("\n============\nDump Data transfer'd\n%s\n===",
        or_fallback(render_data_transfer(layout), "<Fail to get Data transfer'd!>"));
  print("\n============\nRA status\n%s\n============",
        or_fallback(remote_assist_get(), "<Fail to get RA status!>"));
  print("\n============\nLAN Port Speed\n%s\n========",
        or_fallback(port_media_get(0), "<Fail to get LAN Port Speed!>"));
  print("\n============\nDump WAN Port Speed\n");
  print_wan_port_media(wan_status_collect(std::nullopt));
  print("========================\n");
  print("\n============\nDump PMU Info\n");
  print_power_units(layout);
  print("========================\n");
  if (power_panel) {
    print("\n============[Power Consume]========\n\t");
    print("<Input Power>\n%s\n", extpower_render_input_power(layout).c_str());
    print("<Battery Status>\n%s\n", battery_render_all(layout).c_str());
    print("========================\n");
  }
}

}  // namespace tavio
