// The uptime text: days, then hours, minutes and seconds of two digits; "days" from 2 on;
// 32-bit arithmetic as on the router.
#include "status/system_info.h"

#include <gtest/gtest.h>

namespace tavio {
namespace {

TEST(UptimeText, Table) {
  const struct {
    long seconds;
    const char* expected;
  } cases[] = {
      {0, "0 day 00:00:00"},         {9, "0 day 00:00:09"},
      {3599, "0 day 00:59:59"},      {36610, "0 day 10:10:10"},
      {86399, "0 day 23:59:59"},     {86400, "1 day 00:00:00"},
      {172799, "1 day 23:59:59"},    {172800, "2 days 00:00:00"},
      {1074030, "12 days 10:20:30"}, {2147483647, "24855 days 03:14:07"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(uptime_text(c.seconds), c.expected) << c.seconds;
  }
}

}  // namespace
}  // namespace tavio
