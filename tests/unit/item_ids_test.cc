// Reading what follows a row's prefix in an item identifier.
#include "layout/item_ids.h"

#include <gtest/gtest.h>

#include <string>

namespace tavio {
namespace {

struct Row {
  ItemKey key;
};

const Row kRows[] = {
    {{"lan_ip", ItemSuffix::kNone}},
    {{"wan_status_", ItemSuffix::kNumber}},
    {{"pdu_status_port_", ItemSuffix::kUnitSerial}},
    {{"pmu_port_ctrl_", ItemSuffix::kPortControl}},
    {{"pwr_consume_status_battery_", ItemSuffix::kBatteryNumber}},
    {{"pwr_consume_status_battery", ItemSuffix::kNone}},
};

TEST(ItemRows, SuffixesReadAsTheirRowSays) {
  const std::string long_serial(40, 'S');
  const struct {
    std::string identifier;
    int row;  // index into kRows, -1 for no row
    bool reads;
    int number;
    std::string unit;
  } cases[] = {
      {"lan_ip", 0, true, 0, ""},
      {"lan_ipx", -1, false, 0, ""},
      {"wan_status_2x", 1, true, 2, ""},
      {"wan_status_ -7", 1, true, -7, ""},
      {"wan_status_x", 1, false, 0, ""},
      {"wan_status_99999999999", 1, true, 2147483647, ""},
      {"pdu_status_port_" + long_serial, 2, true, 0, std::string(31, 'S')},
      {"pmu_port_ctrl_ABCDEFGHIJKLMN_3", 3, true, 3, "ABCDEFGHIJKLMN"},
      // A shorter unit serial puts the port somewhere else; nothing is read past the end.
      {"pmu_port_ctrl_ABC_3", 3, true, 0, "ABC_3"},
      {"pmu_port_ctrl_ABCDEFGHIJKLM_12", 3, true, 2, "ABCDEFGHIJKLM_"},
      {"pwr_consume_status_battery_2", 4, true, 2, ""},
      {"pwr_consume_status_battery_x", 4, true, 0, ""},
      {"pwr_consume_status_battery_-1", 4, false, 0, ""},
      {"pwr_consume_status_battery", 5, true, 0, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.identifier);
    std::optional<ItemArgs> args;
    const Row* row = match_item_row(kRows, c.identifier.c_str(), &args);
    EXPECT_EQ(row == nullptr ? -1 : static_cast<int>(row - kRows), c.row);
    EXPECT_EQ(args.has_value(), c.reads);
    if (args) {
      EXPECT_EQ(args->number, c.number);
      EXPECT_EQ(args->unit, c.unit);
    }
  }
}

}  // namespace
}  // namespace tavio
