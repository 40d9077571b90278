// Parts of a unit's "Device Config" tree the example router's end-to-end menus do not reach:
// every cron rule, missing and protected ports, and schedules that cannot be shown, each read
// from a device list's JSON into the unit's record first, compared as compact sorted JSON.
#include "power/unit_config.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>

#include "protocol/json_build.h"
#include "support.h"

namespace tavio {
namespace {

// A text item in the compact, sorted form; st is the panel text with real line breaks.
std::string text_item(const char* id, const char* title, const char* st) {
  return dump(JsonObjectBuilder()
                  .text("id", id)
                  .text("t", title)
                  .take("c", JsonObjectBuilder().text("st", st).done())
                  .done());
}

// The record of a device list's one unit whose "config" is config (JSON).
UnitConfig read_config(const std::string& config) {
  const std::string answer = R"({"list": [{"config": )" + config + "}]}";
  const std::optional<PowerUnitList> list =
      power_unit_list_of(json_own(json_loads(answer.c_str(), 0, nullptr)).get());
  return list && list->items.size() == 1 ? list->items.front().config.value_or(UnitConfig{})
                                         : UnitConfig{};
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
  ProtectedPorts below32(31);
  std::iota(below32.begin(), below32.end(), 1);  // only the highest port is shown
  const struct {
    int ports;
    ProtectedPorts protected_ports;
    int theme;
    const char* values;
    const char* st;  // null: no item
  } cases[] = {
      {1, {}, 2, R"({"r1":"12"})", "\nMax. Voltage: 12 V"},
      {2, {}, 1, R"({"r1":"12","r2":""})", "Max. Voltage 1:  12 V\nMax. Voltage 2:   N/A"},
      {3, {2}, 1, R"({"r1":"12","r3":7})", "Max. Voltage 1:  12 V\nMax. Voltage 3:   N/A"},
      {2, {1, 2}, 1, R"({"r1":"12","r2":"13"})", nullptr},
      {32, below32, 1, R"({"r32":"5","r33":"6"})", "Max. Voltage 32:  5 V"},
  };
  for (const auto& c : cases) {
    const UnitConfig config = read_config(std::string(R"({"over_v": )") + c.values + "}");
    ASSERT_TRUE(config.max_voltage) << c.values;
    const JsonPtr item =
        menu_item_port_values(*config.max_voltage, c.ports, "v_SN1", "Max. Voltage", " V",
                              c.protected_ports, grid(c.theme));
    EXPECT_EQ(dump(item), c.st ? text_item("v_SN1", "Max. Voltage", c.st) : "null") << c.values;
  }
}

// Entries without a usable time or state are skipped; the numbers follow what is shown.
TEST(Schedules, UnusableEntriesLeaveNoGapInNumbers) {
  const UnitConfig config =
      read_config(R"({"schedule": [{"cron": "60 0 * * * *", "state": {"r1": "1"}},
      {"cron": "0 0 * * * *"}, {"cron": "0 12 1 * * *", "state": {"r1": "0"}},
      {"cron": "", "state": {}}]})");
  ASSERT_TRUE(config.schedules);
  const std::string expected =
      R"({"id":"pmu_conf_sche_menu_SN1","t":"Schedules","m":[)" +
      text_item("pmu_conf_sche_SN1_1", "Schedule (1)",
                "Port 1 Action:    OFF\nPort 2 Action:    N/A\n"
                "Execution Time: 12:00\nFrequency:\n          Monthly - 1") +
      R"(,{"t":"---------------------"}]})";
  EXPECT_EQ(dump(pmu_schedule_menu(2, "SN1", *config.schedules, {}, grid())),
            dump(json_own(json_loads(expected.c_str(), 0, nullptr))));
  const UnitConfig unusable =
      read_config(R"({"schedule": [{"cron": "0 0 * * *", "state": {}}, {"state": {}}]})");
  ASSERT_TRUE(unusable.schedules);
  EXPECT_EQ(dump(pmu_schedule_menu(1, "SN1", *unusable.schedules, {}, grid())),
            text_item("pmu_conf_sche_menu_SN1", "Schedules", "No Schedule Defined"));
}

}  // namespace
}  // namespace tavio
