// Reading request and reply members: defaults, 32-bit integers, and Jansson's typed readers.
#include "app/json_get.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tavio/json_ref.h"

namespace tavio {
namespace {

const JsonPtr& doc() {
  static const JsonPtr document = json_own(json_loads(
      R"({"big": 4294967297, "min": 2147483648, "neg": -1, "n": 7, "text": "12",
          "real": 2.5, "empty": "", "flag": true, "none": null})",
      0, nullptr));
  return document;
}

TEST(JgetInt, LowBitsOfIntegersZeroForOtherTypesDefaultWhenMissing) {
  const struct {
    const char* key;
    std::int32_t expected;
  } cases[] = {{"n", 7},    {"big", 1},  {"min", INT32_MIN}, {"neg", -1},       {"text", 0},
               {"real", 0}, {"flag", 0}, {"none", 0},        {"missing", -9999}};
  ASSERT_TRUE(doc());
  for (const auto& c : cases) {
    EXPECT_EQ(jget_int(doc().get(), c.key, -9999), c.expected) << c.key;
  }
  EXPECT_EQ(jget_int(nullptr, "n", -1), -1);
}

TEST(JgetReal, OnlyRealValues) {
  EXPECT_EQ(jget_real(doc().get(), "real", -9999.9), 2.5);
  EXPECT_EQ(jget_real(doc().get(), "n", -9999.9), 0.0);  // an integer is not a real
  EXPECT_EQ(jget_real(doc().get(), "text", -9999.9), 0.0);
  EXPECT_EQ(jget_real(doc().get(), "missing", -9999.9), -9999.9);
  EXPECT_EQ(jget_real(nullptr, "real", -9999.9), -9999.9);
}

TEST(JgetString, BorrowedFromDocumentOrDefault) {
  const char* def = "dflt";
  const char* text = jget_string(doc().get(), "text", def);
  EXPECT_EQ(text, json_string_value(json_object_get(doc().get(), "text")));  // not a copy
  EXPECT_STREQ(text, "12");
  EXPECT_STREQ(jget_string(doc().get(), "empty", def), "");
  for (const char* key : {"n", "none", "missing"}) {
    EXPECT_EQ(jget_string(doc().get(), key, def), def) << key;
  }
  EXPECT_EQ(jget_string(nullptr, "text", def), def);
}

}  // namespace
}  // namespace tavio
