// Documents as tavio builds them and writes them for the display.
#include "protocol/json_text.h"

#include <gtest/gtest.h>

#include <string>

#include "protocol/json_build.h"
#include "tavio/json_ref.h"

namespace tavio {
namespace {

std::string written(const JsonPtr& document) {
  return json_compact_text(document.get()).value_or("(none)");
}

TEST(JsonText, CompactWithOnlyTheEscapesJsonRequires) {
  const JsonPtr document =
      JsonObjectBuilder()
          .text("t", "a/b \xc3\xa9 \"q\" \\ \n\t\b\f\r\x1f")
          .integer("n", -9223372036854775807LL - 1)
          .take("m", JsonArrayBuilder().text("x").add(json_own(json_true())).done())
          .done();
  EXPECT_EQ(
      written(document),
      "{\"t\":\"a/b \xc3\xa9 \\\"q\\\" \\\\ \\n\\t\\b\\f\\r\\u001F\",\"n\":-9223372036854775808,"
      "\"m\":[\"x\",true]}");
  EXPECT_EQ(written(nullptr), "(none)");
  EXPECT_EQ(written(json_own(json_string("x"))), "(none)");
}

TEST(JsonBuild, ObjectsAreWholeOrNothingAndArraysLeaveOutWhatIsMissing) {
  const char* const no_text = nullptr;
  const struct {
    const char* name;
    JsonPtr built;
    const char* text;
  } cases[] = {
      {"members in the order set",
       JsonObjectBuilder()
           .text("b", "x")
           .integer("a", 1)
           .take("c", JsonArrayBuilder().done())
           .done(),
       R"({"b":"x","a":1,"c":[]})"},
      {"a member without text", JsonObjectBuilder().text("a", "x").text("b", no_text).done(),
       "(none)"},
      {"a member without a child", JsonObjectBuilder().text("a", "x").take("c", nullptr).done(),
       "(none)"},
      {"elements missing or failed are left out",
       JsonArrayBuilder()
           .add(nullptr)
           .text("x")
           .add(JsonObjectBuilder().text("k", no_text).done())
           .add(json_own(json_integer(2)))
           .done(),
       R"(["x",2])"},
      {"text that is not UTF-8", JsonArrayBuilder().text("a\xff").done(), "[\"a\xef\xbf\xbd\"]"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(written(c.built), c.text) << c.name;
  }
}

}  // namespace
}  // namespace tavio
