// Documents as tavio builds them and writes them for the display, and the menu-item schema at
// its edges; entries as the display receives them are the golden menus' (menu-dashboard-home).
#include <gtest/gtest.h>

#include <string>

#include "protocol/json_build.h"
#include "protocol/json_read.h"
#include "protocol/json_text.h"
#include "protocol/menu_items.h"
#include "support.h"

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

// tavio's reader against Jansson's: the same texts accepted, the same values in the same order.
TEST(JsonRead, ReadsWhatJanssonsReaderReads) {
  const std::string deep = std::string(2047, '[') + "1" + std::string(2047, ']');
  const std::string too_deep = "[" + deep + "]";
  const std::string cases[] = {
      " {\"b\":1,\"a\":[true,false,null,\"x\"],\"b\":2}\r\n\t",
      "{\"e\\u00e9\":\"\\\"\\\\\\/\\b\\f\\n\\r\\t\\ud83d\\ude00 \xc3\xa9\"}",
      "[0,-0,-12,3.5,1e2,2E-3,-1.5e+3,9223372036854775807,-9223372036854775808,1e-400]",
      "[9223372036854775808]",
      "[-9223372036854775809]",
      "[1e400]",
      "[01]",
      "[1.]",
      "[.5]",
      "[-]",
      "[1e]",
      "[+1]",
      "[\"\\u0000\"]",
      "[\"\\ud83d\"]",
      "[\"\\ude00\"]",
      "[\"\\ud83d\\u0041\"]",
      "[\"\\x\"]",
      "[\"\\u12G4\"]",
      "[\"a\tb\"]",
      "[\"\xc3\"]",
      "[\"\xed\xa0\x80\"]",
      "[\"\xc0\xaf\"]",
      "[\xc3\xa9]",
      "[1,]",
      "{\"a\":1,}",
      "{\"a\" 1}",
      "{1:2}",
      "[1] x",
      "[1]\0",
      "[tru]",
      "[truex]",
      "[nul]",
      "1",
      "\"x\"",
      "",
      " ",
      "[",
      std::string("[\"a\0b\"]", 7),
      std::string("[1\0,true\0]", 10),
      std::string("[1\0\0]", 5),
      std::string("[\"a\"\0]", 5),
      deep,
      too_deep};
  for (const std::string& text : cases) {
    const JsonPtr ours = json_read(text);
    const JsonPtr theirs(json_loadb(text.data(), text.size(), 0, nullptr));
    ASSERT_EQ(ours == nullptr, theirs == nullptr) << text.substr(0, 80);
    if (ours) {
      EXPECT_EQ(written(ours), written(theirs)) << text.substr(0, 80);
    }
  }
}

// An object is whole or nothing: a member without its text or child leaves no object at all
// (an array leaving out what is missing is ItemIds' and the golden menus').
TEST(JsonBuild, ObjectsAreWholeOrNothing) {
  const char* const no_text = nullptr;
  EXPECT_EQ(written(JsonObjectBuilder().text("a", "x").text("b", no_text).done()), "(none)");
  EXPECT_EQ(written(JsonObjectBuilder().text("a", "x").take("c", nullptr).done()), "(none)");
}

// An entry needs its identifier, title and key; a text item its title and text.
TEST(MenuItems, MissingRequiredTextGivesNull) {
  for (int missing = 0; missing < 3; ++missing) {
    for (const char* bad : {static_cast<const char*>(nullptr), ""}) {
      const char* f[3] = {"x", "x", "x"};
      f[missing] = bad;
      EXPECT_FALSE(menu_item_entry(f[0], f[1], MenuAccess::kRead, f[2], 5, nullptr, nullptr))
          << "field " << missing;
      EXPECT_EQ(menu_item_text("m", f[0], f[1], grid(1)) == nullptr, missing < 2);
    }
  }
}

TEST(MenuText, LaysOutFirst255CharactersIdOptional) {
  const std::string text(300, 'q');
  const std::string cut(255, 'q');
  EXPECT_EQ(dump(menu_item_text("about", "About", text.c_str(), grid(1))),
            R"({"c":{"st":")" + cut + R"("},"id":"about","t":"About"})");
  // The alternative theme adds its empty top line after the cut.
  EXPECT_EQ(dump(menu_item_text(nullptr, "About", text.c_str(), grid(2))),
            R"({"c":{"st":"\n)" + cut + R"("},"t":"About"})");
}

TEST(MenuSeparator, DashesForCount) {
  EXPECT_EQ(dump(menu_item_separator(0)), R"({"t":""})");
  EXPECT_EQ(dump(menu_item_separator(-3)), R"({"t":""})");
  EXPECT_EQ(dump(menu_item_separator(16)), R"({"t":"----------------"})");
  EXPECT_EQ(dump(menu_item_separator(500)), R"({"t":")" + std::string(127, '-') + R"("})");
}

}  // namespace
}  // namespace tavio
