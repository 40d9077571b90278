// Item identifiers: a unit's own menu hands out no identifier its serial does not come back from
// whole, which holds where the reading keeps less than a menu wrote (long unit serials); battery
// numbers. That each key lands on its own row is end to end.
#include "protocol/item_ids.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "handlers/value_read.h"
#include "power/unit_menus.h"
#include "support.h"

namespace tavio {
namespace {

const std::string kSerial14 = "PMU1A2B3C4D5E6";

// Every identifier in a menu tree ("id" and "k") that a value-read row reads.
std::vector<std::string> row_identifiers(const JsonPtr& menu) {
  const std::string text = dump(menu);
  const std::regex member(R"re("(id|k)":"([^"]*)")re");
  std::vector<std::string> found;
  for (std::sregex_iterator it(text.begin(), text.end(), member), end; it != end; ++it) {
    if (value_read_key((*it)[2].str().c_str()) != nullptr) {
      found.push_back((*it)[2]);
    }
  }
  return found;
}

// A unit's own menu hands out a status or port-control identifier only when it reads back as
// that unit whole: status rows keep 31 characters of a serial, port controls exactly 14.
TEST(ItemIds, AUnitsMenuHandsOutOnlyIdentifiersThatNameItWhole) {
  const struct {
    std::string serial;
    std::size_t status_items;  // per unit menu of an integrated PMU (a PDU has four)
    bool port_controls;
  } cases[] = {
      {std::string(13, 'A'), 6, false},
      {kSerial14, 6, true},
      {std::string(15, 'A'), 6, false},
      {std::string(31, 'A'), 6, false},
      {std::string(32, 'A'), 0, false},
      {kSerial14 + "_2", 6, false},     // would read back as port 2 of the 14-character unit
      {"PMU1A2B3C4D5E\xff", 0, false},  // not UTF-8: would come back repaired, another unit
  };
  const PanelLayout layout;
  for (const auto& c : cases) {
    PowerUnit unit;
    unit.serial = c.serial;
    unit.details = UnitDetails{};
    unit.details->serial = c.serial;
    unit.details->ports = PortCount{2};
    unit.config = UnitConfig{};
    for (const PowerUnitType type :
         {PowerUnitType::kIntegratedPmu, PowerUnitType::kExternalPmu, PowerUnitType::kPdu}) {
      SCOPED_TRACE(c.serial + " type " + std::to_string(static_cast<int>(type)));
      const JsonPtr menu = type == PowerUnitType::kPdu ? pdu_unit_menu(unit, layout)
                                                       : pmu_unit_menu(type, unit, layout);
      ASSERT_TRUE(menu);
      std::size_t status_items = 0;
      std::size_t port_keys = 0;
      for (const std::string& id : row_identifiers(menu)) {
        const ItemKey* key = value_read_key(id.c_str());
        const std::optional<ItemArgs> args = read_item_suffix(*key, id.c_str());
        ASSERT_TRUE(args) << id;
        EXPECT_EQ(args->unit, c.serial) << id;
        if (key->suffix == ItemSuffix::kUnitSerial) {
          ++status_items;
        } else if (args->number >= 1) {
          ++port_keys;
          EXPECT_LE(args->number, 2) << id;
        }
      }
      // Status entries come as id and key alike; a PDU has four rows instead of six.
      const std::size_t rows =
          type == PowerUnitType::kPdu ? c.status_items * 4 / 6 : c.status_items;
      EXPECT_EQ(status_items, 2 * rows);
      EXPECT_EQ(port_keys, c.port_controls ? 4u : 0u);  // id and key of ports 1 and 2
    }
  }
}

// A battery number is read like strtol and may not be negative; a key without a suffix
// answers only to its name. Other numbers are read like scan_int and held end to end.
TEST(ItemIds, BatteryNumbersAndNamesThatDoNotMatch) {
  EXPECT_EQ(value_read_key("lan_ipx"), nullptr);
  const ItemKey* battery = value_read_key("pwr_consume_status_battery_x");
  ASSERT_NE(battery, nullptr);
  EXPECT_EQ(read_item_suffix(*battery, "pwr_consume_status_battery_x").value().number, 0);
  EXPECT_FALSE(read_item_suffix(*battery, "pwr_consume_status_battery_-1"));
}

}  // namespace
}  // namespace tavio
