// Outside texts on their way into command lines and file names.
#include "platform/outside_text.h"

#include <gtest/gtest.h>
#include <stdio.h>

#include <string>

namespace tavio {
namespace {

// What a tool receives when the shell runs it with the argument as written in a command line:
// each argument on a line of its own, framed by brackets.
std::string received(const std::string& argument) {
  const std::string command = "printf '[%s]\\n' " + argument;
  FILE* pipe = ::popen(command.c_str(), "r");
  std::string out;
  char buffer[256];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) {
    out.append(buffer, n);
  }
  ::pclose(pipe);
  return out;
}

TEST(OutsideText, ShellGetsEachTextAsOneExactArgument) {
  const struct {
    std::string text;
    bool plain;
  } cases[] = {
      {"PNL-0001", true},   {"A1:B2.c_d", true}, {"a;reboot", false}, {"$(reboot)", false},
      {"`reboot`", false},  {"a|reboot", false}, {"a reboot", false}, {"a'$(reboot)'", false},
      {"a\nreboot", false}, {"'", false},        {"a&&b", false},     {"x/../../q", false},
      {"*", false},         {"a\\b", false},     {"~root", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(is_plain_word(c.text), c.plain);
    const std::string argument = shell_argument(c.text);
    if (c.plain) {
      EXPECT_EQ(argument, c.text);  // ordinary serials stay byte for byte
    }
    EXPECT_EQ(received(argument), "[" + c.text + "]\n");
  }
}

TEST(OutsideText, CommandThatCannotHoldTheQuotedTextIsNotFormed) {
  const char* format = "(capwap_cli panel_reload %s)&";
  EXPECT_EQ(command_with_argument(64, format, "PNL-0001"), "(capwap_cli panel_reload PNL-0001)&");
  EXPECT_EQ(command_with_argument(64, format, "a b"), "(capwap_cli panel_reload 'a b')&");
  EXPECT_EQ(command_with_argument(64, format, "''''''''''"), std::nullopt);
  EXPECT_EQ(command_with_argument(64, format, ""), "(capwap_cli panel_reload )&");
}

TEST(OutsideText, SerialNeverLeadsAFileOutOfItsFolder) {
  const char* format = "/var/run/dorva/tavio/panel_access_%s.status";
  EXPECT_EQ(panel_file_path(format, "PNL-1"), "/var/run/dorva/tavio/panel_access_PNL-1.status");
  EXPECT_EQ(panel_file_path(format, nullptr), "/var/run/dorva/tavio/panel_access_.status");
  EXPECT_EQ(panel_file_path(format, "x/../../../q"), std::nullopt);
  EXPECT_EQ(panel_file_path(format, ".."), "/var/run/dorva/tavio/panel_access_...status");
}

}  // namespace
}  // namespace tavio
