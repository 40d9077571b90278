// Outside texts on their way into tools' arguments and file names.
#include "sources/outside_text.h"

#include <gtest/gtest.h>

#include <string>

namespace tavio {
namespace {

// The room of the panel serial on the panel-reload line: 36 characters.
TEST(OutsideText, TextThatWouldBeCutOrReadAsAnOptionIsRefused) {
  const struct {
    std::string text;
    bool fits;
  } cases[] = {
      {"PNL-0001", true},
      {"", true},
      {std::string(36, 'a'), true},  // the last that fits
      {std::string(37, 'a'), false},
      {"a b'" + std::string(32, 'c'), true},  // blanks and quotes are characters like others
      {"-s", false},
      {"-", false},
      {"a-b", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(outside_argument_fits(c.text, 36), c.fits);
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
