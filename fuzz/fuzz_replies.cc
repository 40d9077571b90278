// The readers of the local API's replies and the device tool's answers: the whole input is
// the reply to every command, and every value family and every menu built from a device list
// is rendered from it.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "handlers/value_read.h"
#include "handlers/value_write.h"
#include "harness.h"
#include "menus/main_menu.h"
#include "power/external_power.h"
#include "power/unit_commands.h"
#include "power/unit_menus.h"
#include "settings/remote_assist.h"
#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"

namespace {

// One identifier of each value family but the power units' (the clock and the uptime read no
// reply); then the power units' families: each measure of the example router's integrated and
// external PMU and its PDU.
constexpr std::string_view kIdentifiers =
    "ha_status cpuload lan_port_status_1 lan_ip wan_status_1 vpn_status_1 wans_throughput_in "
    "wans_throughput_out wans_data_transfer lan_port_speed wan_port_speed_1 remote_assist "
    "wifi_ap_status pwr_consume_status_input_power pwr_consume_status_battery "
    "pwr_consume_status_battery_1 pmu_port_ctrl_PMU1A2B3C4D5E6_1";
const char* const kPmuMeasures[] = {"port", "temp", "in_volt", "out_volt", "in_curr", "out_curr"};
const char* const kPduMeasures[] = {"port", "temp", "volt", "curr"};

// Whatever tavio built must be writable as the display reads it.
void check_writable(const tavio::JsonPtr& document, const char* what) {
  if (!document) {
    return;
  }
  char* text = json_dumps(document.get(), JSON_COMPACT);
  if (text == nullptr) {
    tavio_fuzz::fuzz_fail("a document cannot be written as JSON", what);
  }
  std::free(text);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  tavio_fuzz::init_fuzz_root();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view reply(reinterpret_cast<const char*>(data), size);
  const tavio_fuzz::ServedReplies served({std::string(reply)});
  const tavio::PanelLayout layout;

  const auto render = [&layout](const std::string& identifier) {
    check_writable(tavio::render_value_item(identifier.c_str(), layout), identifier.c_str());
  };
  for (const std::string_view identifier : tavio_fuzz::split_input(kIdentifiers, " ")) {
    render(std::string(identifier));
  }
  for (const std::string measure : kPmuMeasures) {
    render("local_pmu_status_" + measure + "_PMU1A2B3C4D5E6");
    render("ext_pmu_status_" + measure + "_EXT0000000001A");
  }
  for (const std::string measure : kPduMeasures) {
    render("pdu_status_" + measure + "_PDU00000000001");
  }
  check_writable(tavio::power_menu_main(layout), "power_menu_main");
  check_writable(tavio::power_menu_pmu_items(layout), "power_menu_pmu_items");
  check_writable(tavio::power_menu_pdu_items(layout), "power_menu_pdu_items");
  check_writable(tavio::power_consumption_menu_items(layout), "power_consumption_menu_items");
  check_writable(tavio::battery_menu_items(layout), "battery_menu_items");
  check_writable(tavio::main_menu_items(false, layout), "main_menu_items");
  tavio::JsonArrayBuilder dashboard;
  tavio::dashboard_items(dashboard, layout);
  check_writable(dashboard.done(), "dashboard_items");

  // The writes that read an answer: remote assistance and a power port switch.
  static_cast<void>(tavio::set_remote_assist(true));
  static_cast<void>(tavio::devcmd_port_set("PMU1A2B3C4D5E6", 1, true));
  return 0;
}
