// A unit's "Device Config" tree as the panel receives it, on a 21x4 grid. Expected documents
// are JSON literals; both sides are compared as compact JSON with sorted keys.
#include "power/unit_config.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>

namespace tavio {
namespace {

const std::string kSep = R"({"t":"---------------------"})";

std::string dump(const json_t* value) {
  if (value == nullptr) {
    return "null";
  }
  char* text = json_dumps(value, JSON_COMPACT | JSON_SORT_KEYS | JSON_ENCODE_ANY);
  std::string out = text == nullptr ? "(unprintable)" : text;
  std::free(text);
  return out;
}

// The literal in the same compact, sorted form.
std::string doc(const std::string& literal) {
  const JsonPtr value = json_own(json_loads(literal.c_str(), JSON_DECODE_ANY, nullptr));
  return value ? dump(value.get()) : "(bad literal) " + literal;
}

// A text item in the compact, sorted form; st is the panel text with real line breaks.
std::string text_item(const char* id, const char* title, const char* st) {
  const JsonPtr item = json_own(json_pack("{ss,ss,s{ss}}", "id", id, "t", title, "c", "st", st));
  return dump(item.get());
}

JsonPtr parse(const char* literal) { return json_own(json_loads(literal, 0, nullptr)); }

PanelLayout grid(ThemeMode theme = ThemeMode::kDefault) {
  return make_panel_layout(theme, 1, 21, 4);
}

TEST(CronToScheduleTime, TimeAndFrequency) {
  const struct {
    const char* cron;
    const char* shown;  // "hh:mm frequency"
  } cases[] = {
      {"30 7 * * 1 *", "07:30 Weekly - Monday"},
      {"59 23 1 2 7 *", "23:59 Weekly - Sunday"},
      {"0 0 * * 0 *", "00:00 Daily"},  // day 0 is no weekday
      {"0 0 1 * 0 *", "00:00 Monthly - 1"},
      {"5 12 25 12 * *", "12:05 Yearly - December 25"},
      {"5 12 25 13 * *", "12:05 Yearly -  25"},
      {" 5\t6  * * * * extra", "06:05 Daily"},
      {"0 0 * * 1234567 *", "00:00 Daily"},  // seven characters still fit
      {"0 0 * * 12345678 *", "refused"},
      {"60 0 * * * *", "refused"},
      {"0 24 * * * *", "refused"},
      {"0 -1 * * * *", "refused"},
      {"0 0 * * *", "refused"},
      {"", "refused"},
      {nullptr, "refused"},
  };
  for (const auto& c : cases) {
    const std::optional<ScheduleTime> time = cron_to_schedule_time(c.cron);
    const std::string shown = time ? format_text(kTextCapacity, "%02d:%02d %s", time->hour,
                                                 time->minute, time->frequency.c_str())
                                   : "refused";
    EXPECT_EQ(shown, c.shown) << (c.cron ? c.cron : "(null)");
  }
}

TEST(PortValues, OneLinePerUnprotectedPortMissingShownAsNa) {
  constexpr ThemeMode kStd = ThemeMode::kDefault, kAlt = ThemeMode::kAlternative;
  const struct {
    int ports;
    ProtectedPorts protected_ports;
    ThemeMode theme;
    const char* values;
    const char* st;  // null: no item
  } cases[] = {
      {1, {}, kStd, R"({"r1":"12"})", "Max. Voltage:    12 V"},
      {1, {}, kAlt, R"({"r1":"12"})", "\nMax. Voltage: 12 V"},
      {2, {}, kStd, R"({"r1":"12","r2":""})", "Max. Voltage 1:  12 V\nMax. Voltage 2:   N/A"},
      {3, {2}, kStd, R"({"r1":"12","r3":7})", "Max. Voltage 1:  12 V\nMax. Voltage 3:   N/A"},
      {2, {1, 2}, kStd, R"({"r1":"12","r2":"13"})", nullptr},
  };
  for (const auto& c : cases) {
    const JsonPtr item = menu_item_port_values(parse(c.values).get(), c.ports, "v_SN1", "Max",
                                               {"Max. Voltage", "", "r", "", " V"},
                                               c.protected_ports, grid(c.theme));
    EXPECT_EQ(dump(item.get()), c.st ? text_item("v_SN1", "Max", c.st) : "null") << c.values;
  }
}

TEST(PortControl, NoneOneOrSeveralAllowedPorts) {
  const std::string one = R"({"id":"pmu_port_ctrl_SN1","t":"Port Control","c":{
      "ht":"Port Control","a":"rw","k":"pmu_port_ctrl_SN1_2","select":["OFF","ON"]}})";
  const std::string several = R"({"id":"pmu_port_ctrl_SN1","t":"Port Control","m":[
      {"id":"pmu_port_ctrl_SN1_1","t":"Port 1 Control","c":{
       "ht":"Port 1 Control","a":"rw","k":"pmu_port_ctrl_SN1_1","select":["OFF","ON"]}},
      {"id":"pmu_port_ctrl_SN1_3","t":"Port 3 Control","c":{
       "ht":"Port 3 Control","a":"rw","k":"pmu_port_ctrl_SN1_3","select":["OFF","ON"]}},)" +
                              kSep + "]}";
  const struct {
    int ports;
    ProtectedPorts protected_ports;
    std::string expected;
  } cases[] = {{0, {}, "null"}, {2, {1, 2}, "null"}, {3, {1, 3}, one}, {3, {2}, several}};
  for (const auto& c : cases) {
    EXPECT_EQ(dump(pmu_port_control_menu(c.ports, "SN1", c.protected_ports, grid()).get()),
              doc(c.expected))
        << c.ports;
  }
}

TEST(Schedules, UnusableEntriesLeaveNoGapInNumbers) {
  const JsonPtr schedules = parse(R"([
      {"cron": "60 0 * * * *", "state": {"r1": "1"}},
      {"cron": "30 7 * * 1 *", "state": {"r1": "1", "r2": "X"}},
      {"cron": "0 0 * * * *"},
      {"cron": "", "state": {}},
      {"cron": "0 12 1 * * *", "state": {"r1": "0"}}])");
  const std::string expected = R"({"id":"pmu_conf_sche_menu_SN1","t":"Schedules","m":[)" +
                               text_item("pmu_conf_sche_SN1_1", "Schedule (1)",
                                         "Port 1 Action:     ON\n"
                                         "Port 2 Action:\n            NO CHANGE\n"
                                         "Execution Time: 07:30\n"
                                         "Frequency:\n      Weekly - Monday") +
                               "," +
                               text_item("pmu_conf_sche_SN1_2", "Schedule (2)",
                                         "Port 1 Action:    OFF\n"
                                         "Port 2 Action:    N/A\n"
                                         "Execution Time: 12:00\n"
                                         "Frequency:\n          Monthly - 1") +
                               "," + kSep + "]}";
  EXPECT_EQ(dump(pmu_schedule_menu(2, "SN1", schedules.get(), {}, grid()).get()), doc(expected));

  const JsonPtr unusable = parse(R"([{"cron": "0 0 * * *", "state": {}}, {"state": {}}])");
  const std::string none = R"({"id":"pmu_conf_sche_menu_SN1","t":"Schedules",
                               "c":{"st":"No Schedule Defined"}})";
  EXPECT_EQ(dump(pmu_schedule_menu(1, "SN1", unusable.get(), {}, grid()).get()), doc(none));
}

TEST(ConfigMenu, ItemsByUnitType) {
  const JsonPtr config =
      parse(R"({"resetDelay":"5","startOnIgnition":"1","out_v":{"r1":"12"},"over_t":"70",
                "schedule":[]})");
  const std::string delay =
      text_item("pmu_conf_pwr_on_delay_SN1", "Power On Delay", "Power On Delay: 5 sec") + ",";
  const std::string ignition = text_item("pmu_conf_ign_sense_SN1", "Ignition Sense",
                                         "Ignition Sense:\n               Enable") +
                               ",";
  const std::string volts =
      text_item("pmu_conf_out_volt_SN1", "Output Voltage", "Output Voltage:  12 V") + ",";
  const std::string rest = R"({"id":"pmu_conf_sche_menu_SN1","t":"Schedules",
      "c":{"st":"No Schedule Defined"}},{"id":"pmu_port_ctrl_SN1","t":"Port Control","c":{"ht":"Port Control",
      "a":"rw","k":"pmu_port_ctrl_SN1_1","select":["OFF","ON"]}},
      {"id":"pmu_thres_SN1","t":"Thresholds","m":[)" +
                           text_item("pmu_thres_max_temp_SN1", "Max. Temperature",
                                     "Max. Temperature:\n       70 degree Cel.") +
                           "," + kSep + "]}," + kSep + "]}";
  const std::pair<PowerUnitType, std::string> cases[] = {
      {PowerUnitType::kIntegratedPmu, delay + ignition + volts + rest},
      {PowerUnitType::kExternalPmu, delay + ignition + rest},
      {PowerUnitType::kPdu, delay + rest},
  };
  for (const auto& [type, items] : cases) {
    EXPECT_EQ(dump(pmu_config_menu(type, 1, "SN1", config.get(), {}, grid()).get()),
              doc(R"({"id":"pmu_dev_conf_SN1","t":"Device Config","m":[)" + items))
        << static_cast<int>(type);
  }
}

TEST(ConfigMenu, PduWithEveryPortProtectedKeepsOnlyAnEmptyThresholds) {
  const JsonPtr unit = parse(R"({"mgmt_port":[1,"x",2],"config":{"over_v":{"r1":"5","r2":"5"}}})");
  const ProtectedPorts ports = protected_ports_of(json_object_get(unit.get(), "mgmt_port"));
  const JsonPtr menu = pmu_config_menu(PowerUnitType::kPdu, 2, "SN1",
                                       json_object_get(unit.get(), "config"), ports, grid());
  EXPECT_EQ(dump(menu.get()), doc(R"({"id":"pmu_dev_conf_SN1","t":"Device Config","m":[
      {"id":"pmu_thres_SN1","t":"Thresholds","m":[)" +
                                  kSep + "]}," + kSep + "]}"));
}

}  // namespace
}  // namespace tavio
