// Item numbers are read like "%d" after the item's prefix, limited to 32 bits as on the router.
#include "platform/numbers.h"

#include <gtest/gtest.h>

#include <climits>
#include <optional>

namespace tavio {
namespace {

TEST(ScanIntAfter, ReadsLikeScanfWith32BitLimits) {
  const struct {
    const char* text;
    std::optional<int> expected;
  } cases[] = {
      {"wan_status_2", 2},
      {"wan_status_2x", 2},
      {"wan_status_ \t7", 7},
      {"wan_status_+3", 3},
      {"wan_status_-4", -4},
      {"wan_status_007", 7},
      {"wan_status_x", std::nullopt},
      {"wan_status_", std::nullopt},
      {"wan_status_-", std::nullopt},
      {"wan_status_ +", std::nullopt},
      {"wan_statu_2", std::nullopt},
      {"wan_status_99999999999", INT_MAX},
      {"wan_status_-99999999999999999999999", INT_MIN},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(scan_int_after(c.text, "wan_status_"), c.expected) << c.text;
  }
}

}  // namespace
}  // namespace tavio
