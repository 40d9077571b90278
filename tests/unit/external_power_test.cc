// The external-power menus and texts against a stand-in capwap_cli first on PATH that answers
// "extpower_status" with the report each case writes: whole texts at 21 characters per line,
// every failure of the tool, and no temporary file left behind.
#include "power/external_power.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "temp_root.h"

namespace tavio {
namespace {

using tavio_test::kRunDir;
using tavio_test::TempRootTest;

// Answers only "extpower_status", with answer.json and the status in exit_status; notes the
// run directory as it is while the tool writes into it.
const char* const kFakeDeviceTool = R"sh(#!/bin/sh
here=$(dirname "$0")/..
[ "$*" = extpower_status ] || exit 1
ls "$here/var/run/dorva/tavio" > "$here/seen_files"
[ -f "$here/answer.json" ] && cat "$here/answer.json"
exit "$(cat "$here/exit_status" 2>/dev/null || echo 0)"
)sh";

const PanelLayout kPanel;  // 21 characters by 4 lines, default theme
const char* const kNoStatus = "Cannot get battery st\natus.";
const char* const kNoStatusMenu =
    R"([{"id":"custom_menu_content","st":"Cannot get battery st\natus."}])";
const char* const kRule = "---------------------";

std::string dump(const JsonPtr& value) {
  std::unique_ptr<char, decltype(&std::free)> text(
      json_dumps(value.get(), JSON_COMPACT | JSON_SORT_KEYS), &std::free);
  return text ? text.get() : "(null)";
}

std::string battery_entry(const std::string& number, const std::string& title) {
  const std::string id = "pwr_consume_status_battery_" + number;
  return R"({"c":{"a":"r","k":")" + id + R"(","qt":"poll","ttl":5},"id":")" + id + R"(","t":")" +
         title + "\"}";
}

class ExternalPowerTest : public TempRootTest {
 protected:
  void SetUp() override {
    TempRootTest::SetUp();
    if (HasFatalFailure()) {
      return;
    }
    const std::string bin = root_.path() + "/test-bin";
    const char* path = std::getenv("PATH");
    saved_path_ = path == nullptr ? "/usr/bin:/bin" : path;
    ::setenv("PATH", (bin + ":" + saved_path_).c_str(), 1);
    root_.write("/test-bin/capwap_cli", kFakeDeviceTool);
    ASSERT_EQ(::chmod((bin + "/capwap_cli").c_str(), 0755), 0);
    const std::string check = "test \"$(command -v capwap_cli)\" = " + bin + "/capwap_cli";
    ASSERT_EQ(std::system(check.c_str()), 0) << "stand-in capwap_cli not first on PATH";
  }
  void TearDown() override { ::setenv("PATH", saved_path_.c_str(), 1); }

  // The tool's whole answer and exit status.
  void answer(const std::string& document, int status = 0) {
    root_.write("/answer.json", document);
    root_.write("/exit_status", std::to_string(status));
  }
  // A well-formed answer whose report lists these batteries.
  void batteries(const std::string& list) {
    answer(R"({"rpt":[{"tp":"Mains","pw":"24","bat_info":)" + list + "}]}");
  }
  void expect_no_files() const { EXPECT_EQ(root_.list(kRunDir), std::vector<std::string>{}); }

  std::string saved_path_;
};

TEST_F(ExternalPowerTest, BatteryTexts) {
  const struct {
    const char* list;
    std::optional<int> id;  // none: all batteries
    const char* text;
  } cases[] = {
      // "Average time to empty:" is one character wider than the line, so its colon wraps.
      {R"([{"id":1,"name":"Main","bt":3000,"bv":12600,"bi":-1500,"batf":65535,"bate":90,
           "bc":1800,"bf":2000}])",
       1,
       "Name:            Main\nTemperature:\n     26.9 degree Cel.\nVoltage:      12.60 V\n"
       "Discharging current:\n               1.50 A\nAverage time to full:\n                  "
       "N/A\nAverage time to empty\n:\n               90 min\nRemain Capacity:\n"
       "             1800 mAh\nFull Capacity:\n             2000 mAh"},
      {R"([{"id":1,"name":"Aux","bi":0,"bate":65535}])", 1,
       "Name:             Aux\nCurrent:       0.00 A\nAverage time to empty\n:\n"
       "                  N/A"},
      // In double precision 2501 gives a hair above -23.05 and 3335 a hair below 3.335.
      {R"([{"id":4,"bt":2501,"bv":3335}])", 4,
       "\nTemperature:\n    -23.0 degree Cel.\nVoltage:       3.33 V\nCurrent:       0.00 A"},
      {R"([{"id":2,"name":"A","bi":100},{"id":1,"name":"X"},{"id":2,"name":"B","bi":-100}])", 2,
       "Name:               A\nCurrent:       0.10 A\nName:               B\n"
       "Discharging current:\n               0.10 A"},
      {R"([{"id":1,"name":"X"}])", 9, kNoStatus},
      {"[]", 0, kNoStatus},
      {R"([{"id":1,"name":"Main","bi":-1500},{"id":2}])", std::nullopt,
       "Name:            Main\nDischarging current:\n               1.50 A\n---------------------"
       "\n\nDischarging current:\n               0.00 A\n---------------------"},
      {"[]", std::nullopt, kNoStatus},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.list);
    batteries(c.list);
    EXPECT_EQ(c.id ? battery_render_one(*c.id, kPanel) : battery_render_all(kPanel), c.text);
    expect_no_files();
  }
}

TEST_F(ExternalPowerTest, BatteryTextsFollowGridAndTheme) {
  const PanelLayout alternative = make_panel_layout(ThemeMode::kAlternative, 1, 21, 4);
  const PanelLayout narrow = make_panel_layout(ThemeMode::kDefault, 1, 10, 4);
  const struct {
    PanelLayout layout;
    const char* answer;
    bool all;
    const char* text;
  } cases[] = {
      {alternative, R"({"rpt":[{"bat_info":[{"id":0,"name":"Aux"}]}]})", false,
       "\nName: Aux\nCurrent: 0.00 A"},
      {alternative, R"({"rpt":[{"bat_info":[{"id":3}]}]})", false,
       "\nCannot get battery st\natus."},
      // Without any battery list the message is shown as it is, not pushed down.
      {alternative, R"({"rpt":[{"tp":"Mains"}]})", true, kNoStatus},
      {narrow, R"({"rpt":[{"bat_info":[{"name":"Aux","bi":20}]}]})", true,
       "Name:  Aux\nCurrent:\n    0.02 A\n----------"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.answer);
    answer(c.answer);
    EXPECT_EQ(c.all ? battery_render_all(c.layout) : battery_render_one(0, c.layout), c.text);
  }
}

TEST_F(ExternalPowerTest, SourceTitleAndInputPower) {
  const struct {
    const char* report;
    const char* title;
    const char* text;
  } cases[] = {
      {R"({"tp":"Mains","pw":"24.5"})", "Source: Mains",
       "Mains Input Power:\n               24.5 W"},
      {R"({"tp":"DC","pw":""})", "Source: DC", "Source:     Detecting"},
      {R"({"tp":"","pw":"30"})", "Source: Detecting", "Source:     Detecting"},
      {R"({"pw":"30"})", "Source: Detecting", "Source:     Detecting"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.report);
    answer(std::string(R"({"rpt":[)") + c.report + "]}");
    EXPECT_EQ(extpower_source_title(), c.title);
    EXPECT_EQ(extpower_render_input_power(kPanel), c.text);
    EXPECT_EQ(root_.read("/seen_files"),
              "extpower_status_" + std::to_string(::getpid()) + ".json\n");
    expect_no_files();
  }
}

TEST_F(ExternalPowerTest, BatteryMenuListsNamedBatteries) {
  const struct {
    const char* list;
    std::string menu;
  } cases[] = {
      {R"([{"id":3,"name":"Main"},{"id":4},{"id":5,"name":""},{"name":"Aux"}])",
       "[" + battery_entry("3", "Main") + "," + battery_entry("0", "Aux") + R"(,{"t":")" + kRule +
           "\"}]"},
      {R"([{"id":1},{"id":2,"name":""}])", std::string(R"([{"t":")") + kRule + "\"}]"},
      {"[]", kNoStatusMenu},
      {R"({"id":1,"name":"Main"})", kNoStatusMenu},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.list);
    batteries(c.list);
    EXPECT_EQ(dump(battery_menu_items(kPanel)), c.menu);
    expect_no_files();
  }
  batteries(R"([{"id":2,"name":"Main"}])");
  EXPECT_EQ(dump(power_consumption_menu_items(kPanel)),
            R"([{"c":{"a":"r","k":"pwr_consume_status_input_power","qt":"poll","ttl":5},)"
            R"("id":"pwr_consume_status_input_power","t":"Source: Mains"},)"
            R"({"id":"pwr_consume_status_battery_menu_static","m":[)" +
                battery_entry("2", "Main") + R"(,{"t":")" + kRule + R"("}],"t":"Battery"},{"t":")" +
                kRule + "\"}]");
}

TEST_F(ExternalPowerTest, ToolFailuresShowNeutralTexts) {
  const struct {
    const char* document;
    int status;
  } cases[] = {
      {R"({"rpt":[{"tp":"Mains","pw":"24","bat_info":[{"id":0,"name":"Main"}]}]})", 1},
      {"", 0},
      {R"({"rpt":[{"tp":"Mains")", 0},
      {R"({"tp":"Mains","pw":"24"})", 0},
      {R"({"rpt":{"tp":"Mains","pw":"24"}})", 0},
      {R"({"rpt":[]})", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.document);
    answer(c.document, c.status);
    EXPECT_EQ(extpower_source_title(), "Source: Detecting");
    EXPECT_EQ(extpower_render_input_power(kPanel), "Source:     Detecting");
    EXPECT_EQ(battery_render_one(0, kPanel), kNoStatus);
    EXPECT_EQ(battery_render_all(kPanel), kNoStatus);
    EXPECT_EQ(dump(battery_menu_items(kPanel)), kNoStatusMenu);
    EXPECT_EQ(devcmd_extpower(), nullptr);
    expect_no_files();
  }
}

}  // namespace
}  // namespace tavio
