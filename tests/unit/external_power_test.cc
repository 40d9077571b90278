// The external-power texts and battery menu against a stand-in capwap_cli first on PATH that
// answers "extpower_status" with the report each case writes: the conversions and edges the
// end-to-end cases of the example router's batteries and failures do not reach.
#include "power/external_power.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "sources/reply_memo.h"
#include "support.h"

namespace tavio {
namespace {

// Answers only "extpower_status", with answer.json.
const char* const kFakeDeviceTool = R"sh(#!/bin/sh
[ "$*" = extpower_status ] && cat "$(dirname "$0")/../answer.json"
)sh";

const PanelLayout kPanel;  // 21 characters by 4 lines, default theme
const char* const kNoStatus = "Cannot get battery st\natus.";
const char* const kNoStatusMenu =
    R"([{"id":"custom_menu_content","st":"Cannot get battery st\natus."}])";

class ExternalPowerTest : public TempRootTest {
 protected:
  void SetUp() override {
    TempRootTest::SetUp();
    stand_in("capwap_cli", kFakeDeviceTool);
  }
  // A well-formed answer; report is the members of its one report.
  void answer(const std::string& report) {
    write("/answer.json", R"({"rpt":[{)" + report + "}]}");
    forget_replies("");  // each answer stands for a run of its own
  }
};

TEST_F(ExternalPowerTest, BatteryTexts) {
  const struct {
    const char* report;
    std::optional<int> id;  // none: all batteries
    PanelLayout layout;
    const char* text;
  } cases[] = {
      // In double precision 2501 gives a hair above -23.05 and 3335 a hair below 3.335. A
      // battery without a name begins with an empty line; no current reads as 0 and charging.
      {R"("bat_info":[{"id":4,"bt":2501,"bv":3335}])", 4, kPanel,
       "\nTemperature:\n    -23.0 degree Cel.\nVoltage:       3.33 V\nCurrent:       0.00 A"},
      // Every battery with the id is shown.
      {R"("bat_info":[{"id":2,"name":"A","bi":100},{"id":1},{"id":2,"name":"B","bi":-100}])", 2,
       kPanel,
       "Name:               A\nCurrent:       0.10 A\nName:               B\n"
       "Discharging current:\n               0.10 A"},
      {R"("bat_info":[{"id":1,"name":"X"}])", 9, kPanel, kNoStatus},
      // In the list of all batteries no current reads as discharging.
      {R"("bat_info":[{"id":1,"name":"Main","bi":0,"bate":65535},{"id":2}])", std::nullopt, kPanel,
       "Name:            Main\nCurrent:       0.00 A\nAverage time to empty\n:\n"
       "                  N/A\n---------------------\n\nDischarging current:\n"
       "               0.00 A\n---------------------"},
      {R"("bat_info":[])", std::nullopt, kPanel, kNoStatus},
      {R"("bat_info":[{"id":0,"name":"Aux"}])", 0, grid(2), "\nName: Aux\nCurrent: 0.00 A"},
      {R"("bat_info":[{"id":3}])", 0, grid(2), "\nCannot get battery st\natus."},
      // Without any battery list the message is shown as it is, not pushed down.
      {R"("tp":"Mains")", std::nullopt, grid(2), kNoStatus},
      {R"("bat_info":[{"name":"Aux","bi":20}])", std::nullopt, grid(1, 10),
       "Name:  Aux\nCurrent:\n    0.02 A\n----------"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.report);
    answer(c.report);
    EXPECT_EQ(c.id ? battery_render_one(*c.id, c.layout) : battery_render_all(c.layout), c.text);
    EXPECT_TRUE(list(kRunDir).empty());
  }
}

TEST_F(ExternalPowerTest, BatteryMenuWithoutBatteriesSaysSo) {
  for (const char* list : {"[]", R"({"id":1,"name":"Main"})"}) {
    answer(std::string(R"("bat_info":)") + list);
    EXPECT_EQ(dump(battery_menu_items(kPanel)), kNoStatusMenu) << list;
  }
}

}  // namespace
}  // namespace tavio
