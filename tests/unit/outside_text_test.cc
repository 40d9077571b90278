// Outside texts on their way into tools' arguments and file names.
#include "platform/outside_text.h"

#include <gtest/gtest.h>

#include <string>

namespace tavio {
namespace {

// The panel-reload line of a 64-character buffer: 27 characters besides the serial.
TEST(OutsideText, TextThatWouldBeCutOrReadAsAnOptionIsRefused) {
  const char* format = "(capwap_cli panel_reload %s)&";
  const struct {
    std::string text;
    bool fits;
  } cases[] = {
      {"PNL-0001", true},
      {"", true},
      {std::string(36, 'a'), true},  // 63 characters: the last that fit
      {std::string(37, 'a'), false},
      {std::string(36, '9'), true},  // letters and digits up to 'z' and '9' need no quotes
      {std::string(36, 'z'), true},
      {"a b" + std::string(31, 'c'), true},  // quoted: 36
      {"a b" + std::string(32, 'c'), false},
      {std::string(8, '\''), true},  // each quote takes four: 34 with the quotes around
      {std::string(9, '\''), false},
      {"-s", false},
      {"-", false},
      {"a-b", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(outside_argument_fits(64, format, c.text), c.fits);
  }
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
