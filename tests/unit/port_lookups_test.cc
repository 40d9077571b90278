// Router files behind the port-speed screens and the HA title: read afresh at each use.
#include <gtest/gtest.h>

#include "settings/port_media.h"
#include "status/lan_ha_status.h"
#include "temp_root.h"

namespace tavio {
namespace {

using tavio_test::TempRootTest;

class RouterFilesTest : public TempRootTest {};

// Gigabit is offered where the first line of the port in the speed file says 1000.
TEST_F(RouterFilesTest, GigabitOnlyWhereTheFirstLineOfThePortSaysSo) {
  const auto offers_gigabit = [](int port) {
    return port_media_choices(port).front() == "1000baseTx-FD";
  };
  EXPECT_FALSE(offers_gigabit(3));  // no file
  write("/etc/corvane_interface_speed", "1:100\nbad line\n3:1000\n3:10\n\n12:1000");
  EXPECT_TRUE(offers_gigabit(3));
  EXPECT_TRUE(offers_gigabit(12));
  EXPECT_FALSE(offers_gigabit(2));
  EXPECT_EQ(port_media_choices(2).size(), 5u);
}

TEST_F(RouterFilesTest, HaTitleOnlyWhileVrrpIsOn) {
  EXPECT_EQ(ha_state_title(), std::nullopt);  // no file
  const struct {
    const char* file;
    const char* title;
  } cases[] = {
      {"HA_ENABLE=yes\nHA_METHOD=vrrp\nHA_STATUS=fault\n", "HA State:Slave (Isolated)"},
      {"HA_ENABLE=yes\nHA_METHOD=vrrp\nHA_STATUS=backup\n", "HA State:Slave"},
      {"HA_ENABLE=yes\nHA_METHOD=vrrp\nHA_STATUS=init\n", "HA State:Unknown"},
      {"HA_ENABLE=Yes\nHA_METHOD=vrrp\nHA_STATUS=master\n", ""},
      {"HA_ENABLE=yes\nHA_METHOD=ucarp\nHA_STATUS=master\n", ""},
  };
  for (const auto& c : cases) {
    write("/var/run/dorva/ha_status", c.file);
    EXPECT_EQ(ha_state_title(), std::string(c.title)) << c.file;
  }
}

}  // namespace
}  // namespace tavio
