// Item numbers are read like "%d" from the text after the item's prefix, limited to 32 bits
// as on the router.
#include "text/numbers.h"

#include <gtest/gtest.h>

#include <climits>
#include <optional>

namespace tavio {
namespace {

TEST(ScanInt, ReadsLikeScanfWith32BitLimits) {
  const struct {
    const char* text;
    std::optional<int> expected;
  } cases[] = {
      {"2", 2},
      {"2x", 2},
      {" \t7", 7},
      {"+3", 3},
      {"-4", -4},
      {"007", 7},
      {"x", std::nullopt},
      {"", std::nullopt},
      {"-", std::nullopt},
      {" +", std::nullopt},
      {"99999999999", INT_MAX},
      {"-99999999999999999999999", INT_MIN},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(scan_int(c.text), c.expected) << c.text;
  }
}

}  // namespace
}  // namespace tavio
