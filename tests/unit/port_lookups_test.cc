// The HA title from the router's HA status file, read afresh at each use.
#include <gtest/gtest.h>

#include "status/lan_ha_status.h"
#include "temp_root.h"

namespace tavio {
namespace {

using tavio_test::TempRootTest;

class RouterFilesTest : public TempRootTest {};

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
