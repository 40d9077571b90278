// Integer members of requests and replies: cut to 32 bits like the router's own readers, zero
// for other types, the default when missing. Reals and texts are read in the golden cases.
#include "protocol/json_get.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tavio/json_ref.h"

namespace tavio {
namespace {

TEST(JsonGet, IntegersCutTo32BitsTextsFallBackOnlyWhenNotText) {
  const struct {
    const char* key;
    std::int32_t expected;
  } cases[] = {{"n", 7},    {"big", 1},  {"min", INT32_MIN}, {"neg", -1},       {"text", 0},
               {"real", 0}, {"flag", 0}, {"none", 0},        {"missing", -9999}};
  const JsonPtr doc = json_own(json_loads(
      R"({"big": 4294967297, "min": 2147483648, "neg": -1, "n": 7, "text": "12",
          "real": 2.5, "empty": "", "flag": true, "none": null})",
      0, nullptr));
  ASSERT_TRUE(doc);
  for (const auto& c : cases) {
    EXPECT_EQ(jget_int(doc.get(), c.key, -9999), c.expected) << c.key;
  }
  EXPECT_EQ(jget_int(nullptr, "n", -1), -1);
}

}  // namespace
}  // namespace tavio
